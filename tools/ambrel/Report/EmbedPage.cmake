# Writes a source file that holds the page of PAGE (a folder): page.html, with page.css and the
# SCRIPTS (names there, put one after the other) in it. The page's policy lets a browser take just
# those two texts, by their hashes.
#
#     cmake -DPAGE=… -DSCRIPTS=… -DSOURCE=… -P EmbedPage.cmake
cmake_minimum_required(VERSION 3.22...3.25)

# What a policy calls a text by: its hash, in quotes.
function(hash_of text result)
    set(digits "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
    string(SHA256 rest "${text}")
    string(APPEND rest "00") # to whole groups of three bytes
    set(base64 "")
    while(NOT rest STREQUAL "")
        string(SUBSTRING "${rest}" 0 6 group)
        string(SUBSTRING "${rest}" 6 -1 rest)
        foreach(shift 18 12 6 0)
            math(EXPR digit "(0x${group} >> ${shift}) & 63")
            string(SUBSTRING "${digits}" ${digit} 1 digit)
            string(APPEND base64 "${digit}")
        endforeach()
    endwhile()
    string(REGEX REPLACE "A$" "=" base64 "${base64}") # what the added byte became
    set(${result} "'sha256-${base64}'" PARENT_SCOPE)
endfunction()

function(put name text)
    string(FIND "${page}" "@${name}@" first)
    string(FIND "${page}" "@${name}@" last REVERSE)
    if(first EQUAL -1 OR NOT first EQUAL last)
        message(FATAL_ERROR "page.html has to have @${name}@ once")
    endif()
    string(REPLACE "@${name}@" "${text}" page "${page}")
    set(page "${page}" PARENT_SCOPE)
endfunction()

# An array of characters, which may be longer than a string literal.
function(characters_of text result)
    string(HEX "${text}" hex)
    string(REGEX REPLACE "(..)" "'\\\\x\\1'," list "${hex}")
    set(${result} "${list}" PARENT_SCOPE)
endfunction()

file(READ "${PAGE}/page.html" page)
file(READ "${PAGE}/page.css" style)
set(script "")
foreach(name IN LISTS SCRIPTS)
    file(READ "${PAGE}/${name}" text)
    string(APPEND script "${text}")
endforeach()
string(TOLOWER "${style}${script}" small)
if(small MATCHES "</style|</script|<!--")
    message(FATAL_ERROR "this would end the style or the script: ${CMAKE_MATCH_0}")
endif()

hash_of("${style}" style_hash)
hash_of("${script}" script_hash)
put(STYLE_HASH "${style_hash}")
put(SCRIPT_HASH "${script_hash}")
put(STYLE "${style}")
put(SCRIPT "${script}")
put(SUMMARY "@SUMMARY@") # that each stands there once
put(MODEL "@MODEL@")

# The characters up to a placeholder, and leaves in `page` what stands behind it.
function(take_until name result)
    string(FIND "${page}" "@${name}@" place)
    string(SUBSTRING "${page}" 0 ${place} text)
    string(LENGTH "${text}@${name}@" taken)
    string(SUBSTRING "${page}" ${taken} -1 page)
    set(page "${page}" PARENT_SCOPE)
    characters_of("${text}" text)
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

take_until(SUMMARY start)
take_until(MODEL middle)
characters_of("${page}" end)
file(WRITE "${SOURCE}" "#include \"tools/ambrel/Report/EmbeddedPage.hpp\"

namespace Ambrel {

namespace {
constexpr char startText[] = {${start}};
constexpr char middleText[] = {${middle}};
constexpr char endText[] = {${end}};
} // namespace

const std::string_view pageStart(startText, sizeof startText);
const std::string_view pageMiddle(middleText, sizeof middleText);
const std::string_view pageEnd(endText, sizeof endText);

} // namespace Ambrel
")
