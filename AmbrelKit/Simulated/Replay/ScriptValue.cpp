#include "AmbrelKit/Simulated/Replay/ScriptValue.hpp"

#include "AmbrelKit/Platform/JSONText.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace AmbrelKit::Simulated {

namespace {

/// Scripts need six; recursion over a value must end somewhere.
constexpr std::size_t deepestNesting = 100;

constexpr int numberOverflow = 406; // of the JSON library's errors

} // namespace

/// Takes down what the JSON library reads. The library would also build a tree of its own, but it
/// takes an allocation or two for each value, and keeps no number as it was spelled.
class LineParser::Handler {
public:
    explicit Handler(LineParser& parser) : parser_(parser) {}

    bool null() { return add({}); }
    bool boolean(bool value) { return add({.kind = Kind::boolean, .boolean = value}); }
    bool number_integer(std::int64_t value) {
        return add({.kind = Kind::integer, .integer = value, .real = static_cast<double>(value)});
    }
    bool number_unsigned(std::uint64_t value) {
        constexpr std::uint64_t greatest = std::numeric_limits<std::int64_t>::max();
        return add({.kind = Kind::integer,
                    .integer = static_cast<std::int64_t>(std::min(value, greatest)),
                    .real = static_cast<double>(value)});
    }
    bool number_float(double value, const std::string& spelled) {
        return add({.kind = Kind::real, .real = value, .text = keep(spelled)});
    }
    bool string(const std::string& value) { return add({.kind = Kind::text, .text = keep(value)}); }
    bool binary(const nlohmann::json::binary_t& /*value*/) { return false; } // not in a text

    bool start_object(std::size_t /*count*/) { return open(Kind::object); }
    bool end_object() { return close(); }
    bool start_array(std::size_t /*count*/) { return open(Kind::list); }
    bool end_array() { return close(); }
    bool key(const std::string& key) {
        key_ = keep(key);
        return true;
    }

    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::json::exception& error) {
        problem_ = error.id == numberOverflow
                       ? "a number is out of range"
                       : "not a JSON object: syntax error at byte " + std::to_string(position);
        return false;
    }

    [[nodiscard]] const std::string& problem() const { return problem_; }

private:
    using Kind = ScriptValue::Kind;

    /// The parser made room for the whole line, and no text is longer than it is spelled: what was
    /// kept before does not move.
    std::string_view keep(std::string_view text) {
        const std::size_t start = parser_.texts_.size();
        parser_.texts_ += text;
        return std::string_view(parser_.texts_).substr(start);
    }

    bool add(ScriptValue value) {
        value.key = std::exchange(key_, {});
        parser_.values_.push_back(value);
        return true;
    }

    bool open(Kind kind) {
        if (parser_.open_.size() == deepestNesting) {
            problem_ = "lists and objects are nested too deep";
            return false;
        }
        parser_.open_.push_back(parser_.values_.size());
        return add({.kind = kind});
    }

    bool close() {
        const std::size_t index = parser_.open_.back();
        parser_.open_.pop_back();
        parser_.values_[index].extent = parser_.values_.size() - index;
        return true;
    }

    LineParser& parser_;
    std::string_view key_;
    std::string problem_;
};

const ScriptValue& LineParser::parse(std::string_view line) {
    if (line.size() > greatestJSONLength) {
        throw LineError("more than 16 MiB of JSON");
    }
    values_.clear();
    open_.clear();
    texts_.clear();
    texts_.reserve(line.size());
    // The JSON library takes a zero byte for the end, and skips a byte-order mark.
    if (line.find('\0') != std::string_view::npos) {
        throw LineError("a zero byte");
    }
    if (line.substr(0, 3) == "\xEF\xBB\xBF") {
        throw LineError("a byte-order mark");
    }
    Handler handler(*this);
    if (!nlohmann::json::sax_parse(line.begin(), line.end(), &handler)) {
        throw LineError(isValidUTF8(line) ? handler.problem() : "ill-formed UTF-8");
    }
    if (!values_.front().is(ScriptValue::Kind::object)) {
        throw LineError("not a JSON object");
    }
    return values_.front();
}

JSONValue jsonValue(const ScriptValue& value) {
    switch (value.kind) {
    case ScriptValue::Kind::null:
        return nullptr;
    case ScriptValue::Kind::boolean:
        return value.boolean;
    case ScriptValue::Kind::integer:
        return value.integer;
    case ScriptValue::Kind::real:
        return value.real;
    case ScriptValue::Kind::text:
        return value.text;
    case ScriptValue::Kind::list:
        break;
    case ScriptValue::Kind::object: {
        JSONDictionary dictionary;
        for (const ScriptValue& member : value) {
            if (!dictionary.emplace(member.key, jsonValue(member)).second) {
                throw LineError("key " + quoted(member.key) + " twice");
            }
        }
        return dictionary;
    }
    }
    JSONValue list = JSONValue::array();
    for (const ScriptValue& element : value) {
        list.push_back(jsonValue(element));
    }
    return list;
}

std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 60;
    const std::string shown =
        text.size() <= longest ? std::string(text) : repairedUTF8(text.substr(0, longest)) + "…";
    return JSONValue(shown).dump(-1, ' ', true);
}

} // namespace AmbrelKit::Simulated
