#ifndef AMBRELKIT_SIMULATED_REPLAY_SECONDS_HPP
#define AMBRELKIT_SIMULATED_REPLAY_SECONDS_HPP

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace AmbrelKit::Simulated {

/// The nanosecond nearest to a decimal number of seconds, spelled as JSON spells numbers (any
/// character may stand for the decimal point: the JSON library puts the locale's there). Half a
/// nanosecond is rounded away from zero. Nothing when it does not fit.
///
/// A double can't carry it: 1700000000.1 is not a multiple of 2^-22.
[[nodiscard]] std::optional<std::chrono::nanoseconds> nanosecondsFromDecimal(std::string_view text);

/// The same for whole seconds.
[[nodiscard]] std::optional<std::chrono::nanoseconds> nanosecondsFromSeconds(std::int64_t seconds);

/// The sum of two points or spans of time, or nothing when it does not fit.
[[nodiscard]] std::optional<std::chrono::nanoseconds> sum(std::chrono::nanoseconds a,
                                                          std::chrono::nanoseconds b);

/// Appends a time in seconds: exact, the shortest such text (`1`, `0.25`).
void appendSeconds(std::string& text, std::chrono::nanoseconds time);

} // namespace AmbrelKit::Simulated

#endif
