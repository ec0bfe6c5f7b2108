#ifndef AMBREL_LOCALTIME_HPP
#define AMBREL_LOCALTIME_HPP

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace Ambrel {

// Times are in seconds since 1970, in the years 1 to 9999; local is what this machine's user takes
// for local.

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 60 * minute;
constexpr std::int64_t day = 24 * hour;
constexpr std::int64_t week = 7 * day;
constexpr std::size_t hoursOfWeek = 168;

/// The whole seconds of a number; nothing beyond those years.
std::optional<std::int64_t> calendarTime(double seconds);

/// The hour of the local week, from Monday's first (0) to Sunday's last (167).
std::size_t hourOfWeek(std::int64_t time);

/// The local midnight with which the week of `time` began.
std::int64_t beginOfWeek(std::int64_t time);

/// How many seconds local time is ahead of Greenwich, from which time on: one entry for `first`,
/// and one for each change up to `last`. Changes that undo each other within a few days may be left
/// out, and so may more in a range of centuries.
std::vector<std::pair<std::int64_t, long>> zoneOffsets(std::int64_t first, std::int64_t last);

} // namespace Ambrel

#endif
