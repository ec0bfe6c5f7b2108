#ifndef AMBRELKIT_DIFFERENCE_HPP
#define AMBRELKIT_DIFFERENCE_HPP

#include <AmbrelKit/Platform/Export.hpp>
#include <AmbrelKit/Platform/JSONDictionary.hpp>

#include <chrono>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace AmbrelKit {

/// How a difference is written.
struct DifferenceOptions {
    /// Show the parts that are equal too, beside those that are not.
    bool keepsEqualParts = false;

    /// How many levels stand below the outermost names. What differs further down is only said to.
    std::size_t greatestDepth = 64;

    /// How many bytes the lines may have; where there are more, another line says so.
    std::size_t greatestLength = std::size_t{1} << 24U;

    /// How many parts of each value are compared, down to 512 levels. Where there is more, the last
    /// line says so, also when no other does.
    std::size_t greatestCount = std::size_t{1} << 20U;
};

/// The difference between two values as indented text (UTF-8, lines that end in a line break), for
/// people; the empty text where they are equal. As of two collections:
///
///       bleScan:
///     -   [address: "00000000-0000-4000-8000-000000000001"]:
///     -     name: "Lamp"
///     -     timestamp: 1700000003
///         [address: "00000000-0000-4000-8000-000000000002"]:
///     -     name: "Café\u{200b}"
///     +     name: "Watch"
///     + ip: "192.0.2.7"
///       txt:
///     -   [1]: 5
///     +   [1]: 5.0
///
/// A line with - is of `before`, with + of `after`, one with a space says where they stand, and one
/// with ~ what no other shows: another order, or that something is beyond the bounds.
///
/// - Equal is what nobody can tell apart. 1 and 1.0, 0.0 and -0.0, an absent value, null, and an
///   empty text are different; NaN is equal to NaN. Numbers have the fewest digits that read back
///   as the same double. Points in time are in UTC.
/// - In a text, what commands a terminal, is not to be seen, or is no UTF-8 stands as an escape, in
///   a text that is not in Unicode's form NFC all that is not ASCII: no two are written alike.
/// - Fields and dictionaries are compared by name. In a list, elements that have an identity are
///   compared with the one of the same identity; those of dictionaries that have a text
///   "protocolType" and a text "name" have these, else those with a text "address" that, and a
///   host's own those that `describe` names as keys. Other lists are compared by their longest
///   common part: exactly while at most 512 elements were removed or added between their common
///   beginning and end, beyond that by what occurs once in both, and piece by piece between that.
///   As many removed as added at one place are compared one by one.
/// - Costs time in proportion to what the values hold, and for a list of N and M elements at most
///   (N + M) * 1,024 comparisons of one machine word each.
///
/// On any thread, in callbacks too; nothing is kept. Throws what `describe` throws.
///
/// Takes numbers, booleans, enums, texts (what converts to one), JSON values, points in time (of
/// the system's clock) and durations, both in whole numbers, the values that are declared at the
/// end of this header, and of all these optionals, pointers (null is absent; else what is there is
/// compared), pairs, tuples, variants, maps and other ranges; not unordered sets. For a type of its
/// own a host adds a function beside it:
///
///     namespace Host {
///     struct Sensor {
///         std::string serial;
///         std::optional<double> reading;
///         Unit unit; // an enum
///     };
///
///     void describe(AmbrelKit::Description& into, Unit unit) {
///         into.word(unit == Unit::celsius ? "celsius" : "kelvin");
///     }
///
///     void describe(AmbrelKit::Description& into, const Sensor& sensor) {
///         into.key("serial", sensor.serial)
///             .field("reading", sensor.reading)
///             .field("unit", sensor.unit);
///     }
///     } // namespace Host
template <class Before, class After> std::string
difference(const Before& before, const After& after, const DifferenceOptions& options = {});

/// What a value consists of. `describe` makes one of these choices: its fields, its elements, or
/// what it stands for; nothing at all is a value without parts. Everything is copied in the call.
class Description {
public:
    /// It has this field. Fields come in the same order for every value of a type.
    template <class Value> Description& field(std::string_view name, const Value& value) {
        label(name, false);
        return add(value);
    }

    /// Likewise a field that is its identity, or a part of that, among the elements of a list.
    template <class Value> Description& key(std::string_view name, const Value& value) {
        label(name, true);
        return add(value);
    }

    /// It is a list, and this its next element.
    template <class Value> Description& element(const Value& value) {
        beginList();
        return add(value);
    }

    /// It is the same as this value.
    template <class Value> void value(const Value& value) { write(value); }

    /// It is this word, which stands without quotation marks: one of yours, no text from others.
    AMBRELKIT_API void word(std::string_view text);

    Description(const Description&) = delete;
    Description& operator=(const Description&) = delete;
    AMBRELKIT_API ~Description();

private:
    /// @cond
    template <class Before, class After> friend std::string
    difference(const Before& before, const After& after, const DifferenceOptions& options);
    /// @endcond

    AMBRELKIT_API explicit Description(const DifferenceOptions& options);
    /// Of the two elements described.
    [[nodiscard]] AMBRELKIT_API std::string differenceText();

    // The value that is open is described until it is closed, as a part of the one opened before.
    AMBRELKIT_API void label(std::string_view name, bool isKey);
    AMBRELKIT_API bool open(); ///< false: beyond the bounds, and not to be described
    AMBRELKIT_API void close();
    AMBRELKIT_API void closeAsLabel(); ///< of the value that is opened next
    AMBRELKIT_API void beginList();
    AMBRELKIT_API void sortParts(); ///< that come in no order of their own

    AMBRELKIT_API void number(double number);
    AMBRELKIT_API void text(std::string_view text);
    AMBRELKIT_API void time(std::int64_t seconds, std::int64_t nanoseconds);
    AMBRELKIT_API void duration(std::int64_t count, std::intmax_t numerator,
                                std::intmax_t denominator);
    AMBRELKIT_API void json(const JSONValue& value);
    AMBRELKIT_API void json(const JSONDictionary& dictionary);

    void absent() { word("absent"); }
    template <class Value> Description& add(const Value& value) {
        if (open()) {
            write(value);
            close();
        }
        return *this;
    }

    template <class Value> void write(const Value& value) {
        if constexpr (std::same_as<Value, JSONValue> || std::same_as<Value, JSONDictionary>) {
            json(value);
        } else if constexpr (std::same_as<Value, std::monostate> || std::is_null_pointer_v<Value>) {
            absent();
        } else if constexpr (std::same_as<Value, bool> ||
                             std::same_as<Value, std::vector<bool>::reference> ||
                             std::same_as<Value, std::vector<bool>::const_reference>) {
            word(value ? "true" : "false");
        } else if constexpr (std::is_arithmetic_v<Value>) {
            writeNumber(value);
        } else if constexpr (std::is_convertible_v<const Value&, std::string_view>) {
            if constexpr (std::is_pointer_v<Value>) {
                value == nullptr ? absent() : text(value);
            } else {
                text(value);
            }
        } else if constexpr (requires { describe(*this, value); }) {
            describe(*this, value);
        } else if constexpr (std::is_convertible_v<const Value&, std::string>) { // a path
            text(static_cast<std::string>(value));
        } else if constexpr (std::is_enum_v<Value>) {
            write(static_cast<std::underlying_type_t<Value>>(value));
        } else {
            writeOfStandard(value);
        }
    }

    template <class Number> void writeNumber(Number value) {
        static_assert(sizeof(Number) <= sizeof(double), "it would lose digits");
        if constexpr (std::is_floating_point_v<Number>) {
            number(value);
        } else {
            word(std::to_string(value));
        }
    }

    /// What the standard library makes of values.
    template <class Value> void writeOfStandard(const Value& value) {
        if constexpr (requires { typename std::variant_size<Value>::type; }) {
            label("alternative-" + std::to_string(value.index()), false);
            std::visit([this](const auto& one) { this->add(one); }, value);
        } else if constexpr (requires { typename Value::mapped_type; }) {
            writeMap(value);
        } else if constexpr (requires { std::begin(value) != std::end(value); }) {
            static_assert(
                !requires { typename Value::hasher; }, "put it into an order");
            beginList();
            for (const auto& one : value) {
                add(one);
            }
        } else if constexpr (requires { std::tuple_size<Value>::value; }) {
            beginList();
            std::apply([this](const auto&... each) { (this->add(each), ...); }, value);
        } else if constexpr (requires { static_cast<bool>(value), *value; }) {
            static_cast<bool>(value) ? write(*value) : absent();
        } else {
            writeTime(value);
        }
    }

    template <class Map> void writeMap(const Map& map) {
        for (const auto& [key, value] : map) {
            if (open()) {
                write(key);
                closeAsLabel();
                add(value);
            }
        }
        if constexpr (requires { typename Map::hasher; }) {
            sortParts();
        }
    }

    template <class Duration>
    void writeTime(const std::chrono::time_point<std::chrono::system_clock, Duration>& time) {
        static_assert(std::is_integral_v<typename Duration::rep>, "whole numbers only");
        const auto since = time.time_since_epoch();
        const std::chrono::nanoseconds rest = since % std::chrono::seconds(1);
        this->time(std::chrono::duration_cast<std::chrono::seconds>(since).count(), rest.count());
    }

    template <class Count, class Period>
    void writeTime(const std::chrono::duration<Count, Period>& time) {
        static_assert(std::is_integral_v<Count>, "whole numbers only");
        duration(time.count(), Period::num, Period::den);
    }

    template <class Value> void writeTime(const Value& /*value*/) {
        static_assert(sizeof(Value) == 0, "a describe(Description&, const Value&) is missing");
    }

    struct Draft;
    std::unique_ptr<Draft> draft_;
};

template <class Before, class After>
std::string difference(const Before& before, const After& after, const DifferenceOptions& options) {
    Description both(options);
    both.element(before).element(after);
    return both.differenceText();
}

class AmbrelError;
class UUID;
enum class AmbrelPermissionStatus : std::int64_t;
enum class Source : std::uint8_t;
enum class SourceOutcome : std::uint8_t;
enum class SourceState : std::uint8_t;
struct AmbrelErrorObject;
struct LocationCoordinate;
struct LocationFix;
struct Peripheral;
struct SourceAbsence;
struct SourceAccount;
struct SourceCondition;
struct SourceReport;

/// Describes one of the kit's own values.
///@{
AMBRELKIT_API void describe(Description& into, AmbrelPermissionStatus status);
AMBRELKIT_API void describe(Description& into, Source source);
AMBRELKIT_API void describe(Description& into, SourceOutcome outcome);
AMBRELKIT_API void describe(Description& into, SourceState state);
AMBRELKIT_API void describe(Description& into, const AmbrelError& error);
AMBRELKIT_API void describe(Description& into, const AmbrelErrorObject& error);
AMBRELKIT_API void describe(Description& into, const LocationCoordinate& coordinate);
AMBRELKIT_API void describe(Description& into, const LocationFix& fix);
AMBRELKIT_API void describe(Description& into, const Peripheral& peripheral);
AMBRELKIT_API void describe(Description& into, const SourceAbsence& absence);
AMBRELKIT_API void describe(Description& into, const SourceAccount& account);
AMBRELKIT_API void describe(Description& into, const SourceCondition& condition);
AMBRELKIT_API void describe(Description& into, const SourceReport& report);
AMBRELKIT_API void describe(Description& into, const UUID& identifier);
///@}

} // namespace AmbrelKit

#endif
