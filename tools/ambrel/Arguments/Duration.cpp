#include "tools/ambrel/Arguments/Duration.hpp"

#include "tools/ambrel/Arguments/Number.hpp"

#include <cmath>

namespace Ambrel {

namespace {

/// Of a unit; 0 for any other letter.
double secondsOf(char unit) {
    switch (unit) {
    case 's':
        return 1;
    case 'm':
        return 60;
    case 'h':
        return 3600;
    case 'd':
        return 86400;
    case 'w':
        return 7 * 86400;
    default:
        return 0;
    }
}

} // namespace

std::optional<double> duration(std::string_view text) {
    std::string_view unit = text;
    const double count = takeNumber(unit, plainNumber).value_or(0);
    const double seconds = count * (unit.empty() ? 1 : unit.size() == 1 ? secondsOf(unit[0]) : 0);
    return std::isfinite(seconds) && seconds > 0 ? std::optional(seconds) : std::nullopt;
}

} // namespace Ambrel
