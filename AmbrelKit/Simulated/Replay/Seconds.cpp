#include "AmbrelKit/Simulated/Replay/Seconds.hpp"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>

namespace AmbrelKit::Simulated {

using std::chrono::nanoseconds;

namespace {

constexpr std::int64_t nanosecondsInSecond = 1'000'000'000;
constexpr std::int64_t fractionDigits = 9;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// A number as its digits and where the decimal point stands among them.
struct Decimal {
    bool negative = false;
    std::string_view digits;      ///< from the first one; may hold the point itself
    std::size_t pointIndex = 0;   ///< index of the point in `digits`, or its size
    std::int64_t wholeDigits = 0; ///< how many digits stand before the point, exponent
                                  ///< counted in
    [[nodiscard]] static Decimal parse(std::string_view text);
};

std::int64_t exponentOf(std::string_view text) {
    constexpr std::int64_t huge = std::int64_t{1} << 60; // outweighs every number of digits
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && !isDigit(text.front())) {
        text.remove_prefix(1);
    }
    std::int64_t exponent = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), exponent);
    if (result.ec == std::errc::result_out_of_range || exponent > huge) {
        exponent = huge;
    }
    return negative ? -exponent : exponent;
}

Decimal Decimal::parse(std::string_view text) {
    Decimal decimal;
    decimal.negative = !text.empty() && text.front() == '-';
    if (decimal.negative) {
        text.remove_prefix(1);
    }
    const std::size_t exponentMark = std::min(text.find_first_of("eE"), text.size());
    decimal.digits = text.substr(0, exponentMark);
    const auto point = std::find_if_not(decimal.digits.begin(), decimal.digits.end(), isDigit);
    decimal.pointIndex = static_cast<std::size_t>(point - decimal.digits.begin());
    decimal.wholeDigits = static_cast<std::int64_t>(decimal.pointIndex);
    if (exponentMark < text.size()) {
        decimal.wholeDigits += exponentOf(text.substr(exponentMark + 1));
    }
    return decimal;
}

} // namespace

std::optional<nanoseconds> nanosecondsFromDecimal(std::string_view text) {
    const Decimal decimal = Decimal::parse(text);
    std::int64_t digitsToTake = decimal.wholeDigits + fractionDigits;
    std::uint64_t count = 0;
    const auto take = [&](std::uint64_t digit) { // false when it does not fit
        constexpr std::uint64_t limit = std::numeric_limits<std::int64_t>::max();
        if (digitsToTake > 0) {
            if (count > (limit - digit) / 10) {
                return false;
            }
            count = count * 10 + digit;
        } else if (digitsToTake == 0 && digit >= 5) { // the first digit that is dropped
            ++count;
        }
        --digitsToTake;
        return true;
    };
    for (std::size_t i = 0; i < decimal.digits.size(); ++i) {
        if (i != decimal.pointIndex && !take(static_cast<std::uint64_t>(decimal.digits[i] - '0'))) {
            return std::nullopt;
        }
    }
    while (digitsToTake > 0 && count > 0) {
        if (!take(0)) {
            return std::nullopt;
        }
    }
    if (count > std::uint64_t{std::numeric_limits<std::int64_t>::max()}) { // rounded up
        return std::nullopt;
    }
    const auto magnitude = static_cast<std::int64_t>(count);
    return nanoseconds(decimal.negative ? -magnitude : magnitude);
}

std::optional<nanoseconds> nanosecondsFromSeconds(std::int64_t seconds) {
    std::int64_t count = 0;
    if (__builtin_mul_overflow(seconds, nanosecondsInSecond, &count)) {
        return std::nullopt;
    }
    return nanoseconds(count);
}

std::optional<nanoseconds> sum(nanoseconds a, nanoseconds b) {
    std::int64_t count = 0;
    if (__builtin_add_overflow(a.count(), b.count(), &count)) {
        return std::nullopt;
    }
    return nanoseconds(count);
}

void appendSeconds(std::string& text, nanoseconds time) {
    if (time < nanoseconds(0)) {
        text += '-';
    }
    text += std::to_string(std::abs(time.count() / nanosecondsInSecond));
    if (std::int64_t fraction = std::abs(time.count() % nanosecondsInSecond); fraction != 0) {
        text += '.';
        for (std::int64_t unit = nanosecondsInSecond / 10; fraction != 0; unit /= 10) {
            text += static_cast<char>('0' + fraction / unit);
            fraction %= unit;
        }
    }
}

} // namespace AmbrelKit::Simulated
