#ifndef AMBRELKIT_SIMULATED_REPLAY_FIELDS_HPP
#define AMBRELKIT_SIMULATED_REPLAY_FIELDS_HPP

#include "AmbrelKit/Platform/UUID.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptValue.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace AmbrelKit::Simulated {

// What the values of a line must be. Everything here throws LineError, which names the value by
// the key that it stands under.

/// A member that the object under `name` may not have.
[[noreturn]] void rejectMember(const ScriptValue& member, std::string_view name);

/// The members of the object `value` by the order of `keys`, null for one that is left out. No
/// other key is allowed, and none twice.
template <std::size_t count>
std::array<const ScriptValue*, count> fieldsOf(const ScriptValue& value, std::string_view name,
                                               const std::array<std::string_view, count>& keys) {
    if (!value.is(ScriptValue::Kind::object)) {
        throw LineError(quoted(name) + " must be an object");
    }
    std::array<const ScriptValue*, count> fields{};
    for (const ScriptValue& member : value) {
        const auto key = std::find(keys.begin(), keys.end(), member.key);
        if (key == keys.end()) {
            rejectMember(member, name);
        }
        const ScriptValue*& field = fields[static_cast<std::size_t>(key - keys.begin())];
        if (field != nullptr) {
            throw LineError("key " + quoted(member.key) + " twice");
        }
        field = &member;
    }
    return fields;
}

/// The one member that the object `value` has.
const ScriptValue& onlyMember(const ScriptValue& value, std::string_view name);

/// `value`, which must be there.
const ScriptValue& required(const ScriptValue* value, std::string_view key);

/// Whether `value` is null or left out.
[[nodiscard]] inline bool isAbsent(const ScriptValue* value) {
    return value == nullptr || value->is(ScriptValue::Kind::null);
}

std::string textOf(const ScriptValue& value, std::string_view name);
std::int64_t integerOf(const ScriptValue& value, std::string_view name);
const ScriptValue& listOf(const ScriptValue& value, std::string_view name);
UUID uuidOf(const ScriptValue& value, std::string_view name);

/// The bytes that pairs of hexadecimal digits spell.
std::string bytesOf(const ScriptValue& value, std::string_view name);

/// A number of seconds.
std::chrono::nanoseconds timeOf(const ScriptValue& value, std::string_view name);

/// A number, or "nan", "inf" or "-inf".
double coordinateOf(const ScriptValue& value, std::string_view name);

} // namespace AmbrelKit::Simulated

#endif
