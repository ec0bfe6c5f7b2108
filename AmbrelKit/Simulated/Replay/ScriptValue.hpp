#ifndef AMBRELKIT_SIMULATED_REPLAY_SCRIPTVALUE_HPP
#define AMBRELKIT_SIMULATED_REPLAY_SCRIPTVALUE_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace AmbrelKit::Simulated {

/// What is wrong with a line of a script.
class LineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A value of a script's line. Values stand in one array, a list or an object before what it holds.
struct ScriptValue {
    enum class Kind : std::uint8_t { null, boolean, integer, real, text, list, object };

    /// Steps over the members of a list or an object.
    class Iterator {
    public:
        explicit Iterator(const ScriptValue* value) : value_(value) {}
        const ScriptValue& operator*() const { return *value_; }
        Iterator& operator++() {
            value_ += value_->extent;
            return *this;
        }
        bool operator==(const Iterator&) const = default;

    private:
        const ScriptValue* value_;
    };

    Kind kind = Kind::null;
    bool boolean = false;
    std::size_t extent = 1;   ///< how many places this value takes with all that it holds
    std::int64_t integer = 0; ///< a whole number; one beyond 64 bits with sign is the greatest
    double real = 0;          ///< a number of either kind
    std::string_view text{};  ///< a text, or a real number as it is spelled
    std::string_view key{};   ///< where it is a member of an object

    [[nodiscard]] bool is(Kind kind_) const { return kind == kind_; }
    [[nodiscard]] bool isNumber() const { return is(Kind::integer) || is(Kind::real); }
    [[nodiscard]] Iterator begin() const { return Iterator(this + 1); }
    [[nodiscard]] Iterator end() const { return Iterator(this + extent); }
};

/// The value as the JSON library's, with everything it holds. Throws LineError when an object in it
/// has a key twice.
[[nodiscard]] JSONValue jsonValue(const ScriptValue& value);

/// A text for an error message: quoted, in ASCII, cut when it is long.
[[nodiscard]] std::string quoted(std::string_view text);

/// Reads a line as a JSON object. It keeps its memory from line to line, so that a script of any
/// length needs no more than its longest line.
class LineParser {
public:
    /// The line's value, valid until the next call. Throws LineError.
    const ScriptValue& parse(std::string_view line);

private:
    class Handler;

    std::vector<ScriptValue> values_;
    std::vector<std::size_t> open_; ///< the lists and objects around the place that is read
    std::string texts_;             ///< of the values
};

} // namespace AmbrelKit::Simulated

#endif
