#include "AmbrelKit/Platform/PrintableText.hpp"

#include <cstddef>
#include <utf8proc.h>

namespace AmbrelKit {

namespace {

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

/// `text` with what `replace` gives for each character that is not printable; an ill-formed byte
/// counts as the character -1.
template <class Replace> std::string replaced(std::string_view text, Replace replace) {
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        utf8proc_int32_t character = -1;
        const auto length =
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                             static_cast<utf8proc_ssize_t>(text.size()), &character);
        const auto bytes = text.substr(0, length > 0 ? static_cast<std::size_t>(length) : 1);
        shown += isPrintable(character) ? bytes : replace(character);
        text.remove_prefix(bytes.size());
    }
    return shown;
}

} // namespace

std::string printable(std::string_view text) {
    return replaced(
        text, [](utf8proc_int32_t /*character*/) -> std::string_view { return "\xEF\xBF\xBD"; });
}

std::string printableJSON(std::string_view json) {
    std::string escape;
    return replaced(json, [&escape](utf8proc_int32_t character) -> std::string_view {
        if (character == '\n' || character < 0) {
            return character == '\n' ? "\n" : "\xEF\xBF\xBD";
        }
        constexpr std::string_view digits = "0123456789abcdef";
        escape = "\\u";
        for (int shift = 12; shift >= 0; shift -= 4) {
            escape += digits[static_cast<std::size_t>(character >> shift) & 0xFU];
        }
        return escape;
    });
}

} // namespace AmbrelKit
