#include "AmbrelKit/Simulated/Replay/Fields.hpp"

#include "AmbrelKit/Simulated/Replay/Seconds.hpp"

#include <charconv>
#include <limits>

namespace AmbrelKit::Simulated {

using Kind = ScriptValue::Kind;

namespace {

[[noreturn]] void reject(std::string_view name, const char* expected) {
    throw LineError(quoted(name) + " must be " + expected);
}

} // namespace

void rejectMember(const ScriptValue& member, std::string_view name) {
    throw LineError("unknown key " + quoted(member.key) + " in " + quoted(name));
}

const ScriptValue& onlyMember(const ScriptValue& value, std::string_view name) {
    if (!value.is(Kind::object) || value.begin() == value.end() || ++value.begin() != value.end()) {
        reject(name, "an object with one key");
    }
    return *value.begin();
}

const ScriptValue& required(const ScriptValue* value, std::string_view key) {
    if (value == nullptr) {
        throw LineError(quoted(key) + " is missing");
    }
    return *value;
}

std::string textOf(const ScriptValue& value, std::string_view name) {
    if (!value.is(Kind::text)) {
        reject(name, "a text");
    }
    return std::string(value.text);
}

std::int64_t integerOf(const ScriptValue& value, std::string_view name) {
    if (!value.is(Kind::integer)) {
        reject(name, "a whole number");
    }
    return value.integer;
}

const ScriptValue& listOf(const ScriptValue& value, std::string_view name) {
    if (!value.is(Kind::list)) {
        reject(name, "a list");
    }
    return value;
}

UUID uuidOf(const ScriptValue& value, std::string_view name) {
    const auto uuid = value.is(Kind::text) ? UUID::parse(value.text) : std::nullopt;
    if (!uuid) {
        reject(name, "the text of a UUID");
    }
    return *uuid;
}

std::string bytesOf(const ScriptValue& value, std::string_view name) {
    constexpr const char* expected = "pairs of hexadecimal digits";
    if (!value.is(Kind::text) || value.text.size() % 2 != 0) {
        reject(name, expected);
    }
    std::string bytes;
    bytes.reserve(value.text.size() / 2);
    for (std::string_view rest = value.text; !rest.empty(); rest.remove_prefix(2)) {
        std::uint8_t byte = 0;
        const auto result = std::from_chars(rest.data(), rest.data() + 2, byte, 16);
        if (result.ec != std::errc{} || result.ptr != rest.data() + 2) {
            reject(name, expected);
        }
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::chrono::nanoseconds timeOf(const ScriptValue& value, std::string_view name) {
    if (!value.isNumber()) {
        reject(name, "a number of seconds");
    }
    const auto time = value.is(Kind::integer) ? nanosecondsFromSeconds(value.integer)
                                              : nanosecondsFromDecimal(value.text);
    if (!time) {
        throw LineError(quoted(name) + " is out of range");
    }
    return *time;
}

double coordinateOf(const ScriptValue& value, std::string_view name) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    if (value.isNumber()) {
        return value.real;
    }
    if (value.is(Kind::text)) {
        if (value.text == "nan") {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (value.text == "inf" || value.text == "-inf") {
            return value.text.front() == '-' ? -infinity : infinity;
        }
    }
    reject(name, R"(a number, "nan", "inf" or "-inf")");
}

} // namespace AmbrelKit::Simulated
