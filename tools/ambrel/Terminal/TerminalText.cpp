#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <nlohmann/json.hpp>
#include <sstream>
#include <utf8proc.h>

namespace Ambrel {

std::string shown(const AmbrelKit::JSONValue& value) {
    if (value.is_null()) {
        return "-";
    }
    return printable(value.is_string() ? value.get_ref<const std::string&>() : value.dump());
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    while (!text.empty()) {
        utf8proc_int32_t character = -1;
        const auto length =
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                             static_cast<utf8proc_ssize_t>(text.size()), &character);
        width += length > 0 ? static_cast<std::size_t>(utf8proc_charwidth(character)) : 0;
        text.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 1);
    }
    return width;
}

std::string padding(std::string_view text, std::size_t width) {
    const std::size_t taken = displayWidth(text);
    return std::string(taken < width ? width - taken : 0, ' ');
}

std::string wrapped(const std::string& text, std::size_t indentation, std::size_t columns) {
    std::string result;
    std::size_t column = 0;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ' ');) {
        const std::size_t width = displayWidth(word);
        if (column > indentation && column + 1 + width > columns) {
            result += "\n" + std::string(indentation, ' ');
            column = indentation;
        } else if (!result.empty()) {
            result += ' ';
            ++column;
        }
        result += word;
        column += width;
    }
    return result;
}

} // namespace Ambrel
