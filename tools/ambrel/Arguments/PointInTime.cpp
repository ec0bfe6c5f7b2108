#include "tools/ambrel/Arguments/PointInTime.hpp"

#include "tools/ambrel/Arguments/Duration.hpp"
#include "tools/ambrel/Arguments/Number.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <ctime>
#include <nlohmann/json.hpp>

namespace Ambrel {

namespace {

/// What stands behind a decimal point at the start of `text`, as a part of one; moves on behind it.
double takeFraction(const char*& text) {
    std::string_view rest = text;
    const double fraction = *text == '.' ? takeNumber(rest, plainNumber).value_or(0) : 0;
    text = rest.data();
    return fraction;
}

std::optional<double> isoPointInTime(const std::string& text) {
    std::tm parts{};
    double fraction = 0;
    std::optional<long> secondsEast;
    const char* rest = strptime(text.c_str(), "%Y-%m-%d", &parts);
    if (rest != nullptr && (*rest == 'T' || *rest == ' ')) {
        rest = strptime(rest + 1, "%H:%M", &parts);
        if (rest != nullptr && *rest == ':') {
            rest = strptime(rest, ":%S", &parts);
            fraction = rest != nullptr ? takeFraction(rest) : 0;
        }
        if (rest != nullptr && *rest != '\0') {
            rest = strptime(rest, "%z", &parts);
            secondsEast = parts.tm_gmtoff;
        }
    }
    if (rest == nullptr || *rest != '\0') {
        return std::nullopt;
    }
    parts.tm_isdst = -1;
    const int day = parts.tm_mday;
    const std::time_t time = secondsEast ? timegm(&parts) - *secondsEast : std::mktime(&parts);
    // A day that its month has not becomes one of the next month.
    return parts.tm_mday == day ? std::optional(static_cast<double>(time) + fraction)
                                : std::nullopt;
}

/// The point in time as the C library takes it; beyond every calendar when it is out of its range.
std::time_t wholeSeconds(double seconds) {
    constexpr double greatest = 0x1p60;
    return static_cast<std::time_t>(std::floor(std::clamp(seconds, -greatest, greatest)));
}

} // namespace

std::optional<double> pointInTime(const std::string& text) {
    if (const auto fixed = fixedPointInTime(text)) {
        return fixed;
    }
    const auto ago = duration(text);
    return ago ? std::optional(secondsNow() - *ago) : std::nullopt;
}

std::optional<double> fixedPointInTime(const std::string& text) {
    std::string_view rest = text;
    const auto seconds = takeNumber(rest, anyNumber);
    return seconds && rest.empty() && std::isfinite(*seconds) ? seconds : isoPointInTime(text);
}

double secondsNow() {
    const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
    return now.count();
}

std::string timestampText(double seconds) {
    std::string text = nlohmann::json(seconds).dump();
    if (text.ends_with(".0")) {
        text.resize(text.size() - 2);
    }
    return text;
}

std::optional<std::string> localTime(double seconds) {
    std::tm parts{};
    std::array<char, 64> buffer{};
    const std::time_t time = wholeSeconds(seconds);
    if (localtime_r(&time, &parts) == nullptr ||
        std::strftime(buffer.data(), buffer.size(), "%Y-%m-%d %H:%M:%S%z", &parts) == 0) {
        return std::nullopt;
    }
    std::string text = buffer.data();
    constexpr std::size_t minutes = 2; // +0100 becomes +01:00
    return text.insert(text.size() - minutes, 1, ':');
}

std::string age(double seconds, double now) {
    struct Unit {
        double length;
        const char* name;
    };
    constexpr std::array<Unit, 5> units{
        {{365.25 * 86400, " y"}, {86400, " d"}, {3600, " h"}, {60, " min"}, {0, " s"}}};
    const double passed = now - seconds;
    const auto* unit = std::find_if(units.begin(), units.end(),
                                    [passed](const Unit& unit) { return passed >= unit.length; });
    if (unit == units.end()) {
        return "-";
    }
    return std::to_string(wholeSeconds(passed / std::max(unit->length, 1.0))) + unit->name;
}

} // namespace Ambrel
