#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_JSONENCODER_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_JSONENCODER_HPP

#include "AmbrelKit/Internal/Extensions/Shared.hpp"
#include "AmbrelKit/Internal/Extensions/Text.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/UUID.hpp"

#include <chrono>
#include <concepts>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace AmbrelKit {

/// A value has no JSON form.
class EncodingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Turns records and what they hold into JSON values. A record offers `JSONValue encode(const
/// JSONEncoder&) const`.
class JSONEncoder {
public:
    using TimePoint = std::chrono::system_clock::time_point;

    /// The JSON dictionary of `value`, or nothing when it has none: it is not a dictionary, or
    /// holds a number that is not finite.
    template <class Value> static std::optional<JSONDictionary> serialize(const Value& value) {
        try {
            JSONValue json = default_().encode(value);
            if (json.is_object()) {
                return std::move(json.get_ref<JSONDictionary&>());
            }
        } catch (const EncodingError&) { // nothing, as told
        }
        return std::nullopt;
    }

    /// How a point in time is written. As constructed: the seconds since 1970 with their fraction.
    std::function<JSONValue(TimePoint)> dateEncodingStrategy = [](TimePoint time) -> JSONValue {
        return std::chrono::duration<double>(time.time_since_epoch()).count();
    };

    [[nodiscard]] JSONValue encode(const Text& text) const { return std::string(text.string()); }
    [[nodiscard]] JSONValue encode(const UUID& uuid) const { return uuid.text(); }
    [[nodiscard]] JSONValue encode(std::same_as<bool> auto truth) const { return truth; }
    [[nodiscard]] JSONValue encode(double number) const;
    [[nodiscard]] JSONValue encode(TimePoint time) const { return dateEncodingStrategy(time); }

    [[nodiscard]] JSONValue encode(const std::map<Text, Text>& texts) const;

    template <class Value> [[nodiscard]] JSONValue encode(const Shared<Value>& value) const {
        return encode(*value);
    }

    template <class Element>
    [[nodiscard]] JSONValue encode(const std::vector<Element>& list) const {
        JSONValue array = JSONValue::array();
        for (const Element& element : list) {
            array.push_back(encode(element));
        }
        return array;
    }

    template <class List>
    requires requires(const List& list) { list.countAtMost(); }
    [[nodiscard]] JSONValue encode(const List& list) const {
        JSONValue array = JSONValue::array();
        array.get_ref<JSONValue::array_t&>().reserve(list.countAtMost());
        list.forEach([&](const auto& element) { array.push_back(encode(element)); });
        return array;
    }

    template <class Record>
    requires requires(const Record& record, const JSONEncoder& encoder) {
        { record.encode(encoder) } -> std::same_as<JSONValue>;
    }
    [[nodiscard]] JSONValue encode(const Record& record) const { return record.encode(*this); }

private:
    /// A new encoder for the kit's records: points in time are the seconds since 1970 as a double,
    /// truncated toward zero.
    static JSONEncoder default_();
};

/// Builds a record's dictionary, one coding key after the other.
class JSONContainer {
public:
    explicit JSONContainer(const JSONEncoder& encoder) : encoder_(encoder) {}

    template <class Value> void write(std::string_view key, const Value& value) {
        dictionary_.emplace(key, encoder_.encode(value));
    }

    /// An absent value leaves its key out.
    template <class Value> void write(std::string_view key, const std::optional<Value>& value) {
        if (value) {
            write(key, *value);
        }
    }

    [[nodiscard]] JSONValue finish() && { return std::move(dictionary_); }

private:
    const JSONEncoder& encoder_;
    JSONDictionary dictionary_;
};

} // namespace AmbrelKit

#endif
