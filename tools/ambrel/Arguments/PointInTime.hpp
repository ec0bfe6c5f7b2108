#ifndef AMBREL_POINTINTIME_HPP
#define AMBREL_POINTINTIME_HPP

#include <optional>
#include <string>

namespace Ambrel {

/// The forms of a point in time on the command line, for its help.
constexpr const char* pointInTimeForms =
    "in seconds since 1970, or in ISO 8601: 2023-11-14T22:13:20Z, with +01:00 for Z, or without a "
    "zone for local time; a date alone is its midnight; or so long ago: 90s, 15m, 2h, 2d, 1w";

/// Seconds since 1970 of a text in one of those forms; nothing for any other text.
std::optional<double> pointInTime(const std::string& text);

/// The same without the last form, which is another time whenever it is read.
std::optional<double> fixedPointInTime(const std::string& text);

/// Now, in seconds since 1970.
double secondsNow();

/// The shortest of the first form, as in `1700000000`.
std::string timestampText(double seconds);

/// In local time with its offset, as in `2023-11-14 22:13:20+01:00`, which is one of those forms,
/// too; nothing for a time beyond every calendar.
std::optional<std::string> localTime(double seconds);

/// How long before `now`, in its greatest whole unit: `45 s`, `3 min`, `2 h`, `12 d`, `1 y`; `-`
/// when it is after.
std::string age(double seconds, double now);

} // namespace Ambrel

#endif
