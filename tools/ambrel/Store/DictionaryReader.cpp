#include "tools/ambrel/Store/DictionaryReader.hpp"

#include "AmbrelKit/Platform/JSONText.hpp"
#include "tools/ambrel/Commands.hpp"

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <string_view>
#include <system_error>

namespace Ambrel {

namespace {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

bool isBlank(std::string_view line) { return line.find_first_not_of(" \t\r") == line.npos; }

bool isJSON(std::string_view text) { return JSONValue::accept(text); }

/// The dictionary that `text` is. `line` is the number of its first line.
JSONDictionary parse(const std::string& source, std::size_t line, std::string_view text) {
    try {
        JSONValue value = AmbrelKit::readJSON(text);
        if (value.is_object()) {
            return std::move(value.get_ref<JSONDictionary&>());
        }
    } catch (const AmbrelKit::JSONTextError& error) {
        if (error.byte() == 0) {
            throwBadLine(source, line, error.what());
        }
        const auto read = text.substr(0, error.byte() - 1);
        const auto breaks = std::count(read.begin(), read.end(), '\n');
        throwBadLine(source, line + static_cast<std::size_t>(breaks), "this is no JSON");
    }
    throwBadLine(source, line, "this is no JSON object");
}

/// An object over several lines. Where it is none because its first line is broken NDJSON, the
/// lines after that one are JSON by themselves.
JSONDictionary parseDocument(const std::string& source, std::size_t line, const std::string& first,
                             std::istream& input) {
    std::string rest(AmbrelKit::greatestJSONLength, '\0');
    input.read(rest.data(), static_cast<std::streamsize>(rest.size()));
    rest.resize(static_cast<std::size_t>(input.gcount()));
    const std::string text = first + "\n" + rest;
    if (!isJSON(text) && isJSON(rest.substr(0, rest.find('\n')))) {
        throwBadLine(source, line, "this is no JSON");
    }
    return parse(source, line, text);
}

/// The next line; false where there is none. `number` is its number.
bool nextLine(std::istream& input, const std::string& source, std::size_t number,
              std::string& line) {
    try {
        return AmbrelKit::readJSONLine(input, line);
    } catch (const AmbrelKit::JSONTextError& error) {
        throwBadLine(source, number, error.what());
    }
}

} // namespace

void readDictionaries(
    InputFile& file,
    const std::function<void(const JSONDictionary& dictionary, std::size_t line)>& take) {
    std::istream& input = file.stream();
    const std::string& source = file.name();
    bool isFirst = true;
    std::string line;
    for (std::size_t number = 1; nextLine(input, source, number, line); ++number) {
        if (isBlank(line)) {
            continue;
        }
        if (isFirst && !isJSON(line)) {
            take(parseDocument(source, number, line, input), number);
            return;
        }
        take(parse(source, number, line), number);
        isFirst = false;
    }
    if (input.bad()) {
        throw CommandError(failed, source + ": " + std::generic_category().message(errno));
    }
}

void throwBadLine(const std::string& source, std::size_t line, const std::string& reason) {
    throw CommandError(badInput, source + ":" + std::to_string(line) + ": " + reason);
}

} // namespace Ambrel
