#include "AmbrelKit/Platform/JSONText.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <istream>
#include <nlohmann/json.hpp>

namespace AmbrelKit {

namespace {

constexpr const char* tooDeep = "more than 512 arrays and dictionaries inside one another";
constexpr const char* tooLong = "more than 16 MiB of JSON";

void checkWritable(const JSONValue& value, int depth);

void checkWritable(const JSONDictionary& dictionary, int depth) {
    if (depth > greatestJSONDepth) {
        throw JSONTextError(tooDeep);
    }
    for (const auto& [key, value] : dictionary) {
        checkWritable(value, depth + 1);
    }
}

/// The JSON library writes null for a number that is not finite, and an object for bytes: neither
/// would read back as what was saved. Text is left to it; it refuses what is not UTF-8.
void checkWritable(const JSONValue& value, int depth) {
    if (value.is_object()) {
        checkWritable(value.get_ref<const JSONDictionary&>(), depth);
    } else if (value.is_array()) {
        if (depth > greatestJSONDepth) {
            throw JSONTextError(tooDeep);
        }
        for (const JSONValue& element : value) {
            checkWritable(element, depth + 1);
        }
    } else if (value.is_number_float() && !std::isfinite(value.get<double>())) {
        throw JSONTextError("a number that is not finite has no JSON form");
    } else if (value.is_binary() || value.is_discarded()) {
        throw JSONTextError(std::string("a value of type ") + value.type_name() +
                            " has no JSON form");
    }
}

/// At least the depth of `text` when that is JSON. Brackets inside texts are not told apart by
/// their escapes alone, so the scan keeps track of where a text begins and ends.
int depthOf(std::string_view text) {
    int depth = 0;
    int greatest = 0;
    bool inText = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (inText && character == '\\') {
            ++i;
        } else if (character == '"') {
            inText = !inText;
        } else if (!inText && (character == '{' || character == '[')) {
            greatest = std::max(greatest, ++depth);
        } else if (!inText && (character == '}' || character == ']')) {
            --depth;
        }
    }
    return greatest;
}

} // namespace

std::string writeJSON(const JSONDictionary& dictionary) {
    checkWritable(dictionary, 1);
    std::string text;
    try {
        text = JSONValue(dictionary).dump();
    } catch (const JSONValue::exception&) {
        throw JSONTextError("text that is not UTF-8 has no JSON form");
    }
    if (text.size() > greatestJSONLength) {
        throw JSONTextError(tooLong);
    }
    return text;
}

JSONValue readJSON(std::string_view text) {
    if (text.size() > greatestJSONLength) {
        throw JSONTextError(tooLong);
    }
    if (depthOf(text) > greatestJSONDepth) {
        throw JSONTextError(tooDeep);
    }
    // The JSON library takes a zero byte for the end.
    const auto noJSON = [](std::size_t byte) {
        return JSONTextError("no JSON (byte " + std::to_string(byte) + ")", byte);
    };
    if (const auto zero = text.find('\0'); zero != std::string_view::npos) {
        throw noJSON(zero + 1);
    }
    JSONValue value;
    try {
        value = JSONValue::parse(text);
    } catch (const JSONValue::parse_error& error) {
        throw noJSON(error.byte);
    } catch (const JSONValue::exception&) {
        throw JSONTextError("a number is out of range");
    }
    if (!value.is_structured()) {
        throw noJSON(1);
    }
    return value;
}

bool readJSONLine(std::istream& input, std::string& line) {
    std::array<char, 4096> piece{};
    line.clear();
    while (line.size() <= greatestJSONLength) {
        input.getline(piece.data(), piece.size());
        const auto count = static_cast<std::size_t>(input.gcount());
        if (input.good()) { // the line's end has been taken, too
            line.append(piece.data(), count - 1);
            return true;
        }
        line.append(piece.data(), count);
        if (input.eof() || input.bad() || count == 0) {
            return !line.empty();
        }
        input.clear(); // the line goes on behind a full piece
    }
    throw JSONTextError(tooLong);
}

} // namespace AmbrelKit
