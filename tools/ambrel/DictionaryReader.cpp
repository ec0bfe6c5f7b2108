#include "tools/ambrel/DictionaryReader.hpp"

#include "tools/ambrel/Commands.hpp"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <optional>
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
    JSONValue value;
    try {
        value = JSONValue::parse(text);
    } catch (const JSONValue::parse_error& error) {
        const auto read = text.substr(0, error.byte > 0 ? error.byte - 1 : 0);
        const auto breaks = std::count(read.begin(), read.end(), '\n');
        throwBadLine(source, line + static_cast<std::size_t>(breaks), "this is no JSON");
    } catch (const JSONValue::exception&) {
        throwBadLine(source, line, "a number is out of range");
    }
    if (!value.is_object()) {
        throwBadLine(source, line, "this is no JSON object");
    }
    return std::move(value.get_ref<JSONDictionary&>());
}

/// An object over several lines. Where it is none because its first line is broken NDJSON, the
/// lines after that one are JSON by themselves.
JSONDictionary parseDocument(const std::string& source, std::size_t line, const std::string& first,
                             std::istream& input) {
    const std::string rest{std::istreambuf_iterator<char>(input), {}};
    const std::string text = first + "\n" + rest;
    if (!isJSON(text) && isJSON(rest.substr(0, rest.find('\n')))) {
        throwBadLine(source, line, "this is no JSON");
    }
    return parse(source, line, text);
}

} // namespace

void readDictionaries(
    std::istream& input, const std::string& source,
    const std::function<void(const JSONDictionary& dictionary, std::size_t line)>& take) {
    bool isFirst = true;
    std::string line;
    for (std::size_t number = 1; std::getline(input, line); ++number) {
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
