#include "tools/ambrel/Output.hpp"

#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Table.hpp"

#include <cerrno>
#include <iostream>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

namespace {

constexpr int indentation = 2;

/// JSON text may hold U+007F to U+009F as they are, some of which command a terminal.
std::string withEscapedControls(const std::string& json) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(json.size());
    const auto escape = [&](unsigned char code) {
        text += "\\u00";
        text += digits[code >> 4U];
        text += digits[code & 0x0FU];
    };
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto next = i + 1 < json.size() ? static_cast<unsigned char>(json[i + 1]) : 0U;
        if (json[i] == '\x7F') {
            escape(0x7F);
        } else if (json[i] == '\xC2' && next >= 0x80 && next < 0xA0) {
            escape(static_cast<unsigned char>(next));
            ++i;
        } else {
            text += json[i];
        }
    }
    return text;
}

} // namespace

OutputFormat outputFormat(const std::string& name) {
    if (name.empty()) {
        return isatty(STDOUT_FILENO) == 1 ? OutputFormat::pretty : OutputFormat::json;
    }
    if (name == "table") {
        return OutputFormat::table;
    }
    return name == "pretty" ? OutputFormat::pretty : OutputFormat::json;
}

std::string formatted(const AmbrelKit::JSONDictionary& data, OutputFormat format) {
    switch (format) {
    case OutputFormat::table:
        return table(data);
    case OutputFormat::pretty:
        return withEscapedControls(AmbrelKit::JSONValue(data).dump(indentation)) + "\n";
    case OutputFormat::json:
        break;
    }
    return withEscapedControls(AmbrelKit::JSONValue(data).dump()) + "\n";
}

void printResult(const std::string& text) {
    errno = 0;
    std::cout << text << std::flush;
    if (!std::cout) {
        throw CommandError(failed,
                           "can't write the result: " + std::generic_category().message(errno));
    }
}

} // namespace Ambrel
