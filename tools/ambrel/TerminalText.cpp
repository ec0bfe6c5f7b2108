#include "tools/ambrel/TerminalText.hpp"

#include <utf8proc.h>

namespace Ambrel {

namespace {

/// Calls `each` with every character and its bytes; an ill-formed byte is a character of -1.
template <class Each> void forEachCharacter(std::string_view text, Each each) {
    while (!text.empty()) {
        utf8proc_int32_t character = -1;
        const auto length =
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                             static_cast<utf8proc_ssize_t>(text.size()), &character);
        const std::size_t taken = length > 0 ? static_cast<std::size_t>(length) : 1;
        each(character, text.substr(0, taken));
        text.remove_prefix(taken);
    }
}

bool turnsDirection(utf8proc_int32_t character) {
    return character == 0x061C || character == 0x200E || character == 0x200F ||
           (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

bool isPrintable(utf8proc_int32_t character) {
    if (character < 0) {
        return false;
    }
    switch (utf8proc_category(character)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
        return false;
    default:
        return !turnsDirection(character);
    }
}

} // namespace

std::string printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    forEachCharacter(text, [&](utf8proc_int32_t character, std::string_view bytes) {
        shown += isPrintable(character) ? bytes : std::string_view("\xEF\xBF\xBD");
    });
    return shown;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    forEachCharacter(text, [&](utf8proc_int32_t character, std::string_view) {
        width += static_cast<std::size_t>(utf8proc_charwidth(character));
    });
    return width;
}

} // namespace Ambrel
