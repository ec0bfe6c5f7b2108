#include "tools/ambrel/Duration.hpp"

#include <charconv>
#include <cmath>
#include <system_error>

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
    default:
        return 0;
    }
}

} // namespace

std::optional<double> duration(std::string_view text) {
    double count = 0;
    const auto [rest, error] =
        std::from_chars(text.data(), text.data() + text.size(), count, std::chars_format::fixed);
    const std::string_view unit = text.substr(static_cast<std::size_t>(rest - text.data()));
    const double seconds = count * (unit.empty() ? 1 : unit.size() == 1 ? secondsOf(unit[0]) : 0);
    return error == std::errc() && std::isfinite(seconds) && seconds > 0 ? std::optional(seconds)
                                                                         : std::nullopt;
}

} // namespace Ambrel
