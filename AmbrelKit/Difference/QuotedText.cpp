#include "AmbrelKit/Difference/QuotedText.hpp"

#include "AmbrelKit/Internal/Extensions/Text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <utf8proc.h>

namespace AmbrelKit::Differences {

namespace {

constexpr utf8proc_int32_t firstBeyondASCII = 0x80;

bool isToBeSeen(utf8proc_int32_t character) {
    constexpr utf8proc_int32_t emptyBraille = 0x2800;
    switch (utf8proc_category(character)) {
    case UTF8PROC_CATEGORY_CC:
    case UTF8PROC_CATEGORY_CF:
    case UTF8PROC_CATEGORY_CN:
    case UTF8PROC_CATEGORY_CO:
    case UTF8PROC_CATEGORY_CS:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
        return false;
    case UTF8PROC_CATEGORY_ZS:
        return character == ' ';
    default:
        return utf8proc_get_property(character)->ignorable == 0 && character != emptyBraille;
    }
}

std::string hexadecimal(unsigned number) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return {digits.data(), end};
}

std::string escaped(utf8proc_int32_t character) {
    switch (character) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    default:
        return "\\u{" + hexadecimal(static_cast<unsigned>(character)) + "}";
    }
}

} // namespace

std::string quoted(std::string_view text) {
    const bool isNormal = Text(text).canonical() == text; // else equivalents would look like it
    std::string shown = "\"";
    while (!text.empty()) {
        utf8proc_int32_t character = -1;
        const auto length =
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                             static_cast<utf8proc_ssize_t>(text.size()), &character);
        const auto bytes = text.substr(0, length > 0 ? static_cast<std::size_t>(length) : 1);
        const bool isEscaped = character == '"' || character == '\\' || !isToBeSeen(character) ||
                               (character >= firstBeyondASCII && !isNormal);
        if (length <= 0) {
            shown += "\\x" + hexadecimal(static_cast<unsigned char>(bytes.front()));
        } else {
            shown += isEscaped ? escaped(character) : std::string(bytes);
        }
        text.remove_prefix(bytes.size());
    }
    return shown + '"';
}

std::string nameOrQuoted(std::string_view text) {
    const bool isName = !text.empty() && std::all_of(text.begin(), text.end(), [](char byte) {
        return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
               (byte >= '0' && byte <= '9') || byte == '_' || byte == '-' || byte == '.';
    });
    return isName ? std::string(text) : quoted(text);
}

} // namespace AmbrelKit::Differences
