#include "tools/ambrel/Report/LocalTime.hpp"

#include <algorithm>
#include <cmath>
#include <ctime>

namespace Ambrel {

namespace {

std::tm localParts(std::int64_t time) {
    std::tm parts{};
    const std::time_t seconds = time;
    localtime_r(&seconds, &parts);
    return parts;
}

std::size_t daysSinceMonday(const std::tm& parts) {
    return static_cast<std::size_t>(parts.tm_wday + 6) % 7;
}

long offset(std::int64_t time) { return localParts(time).tm_gmtoff; }

} // namespace

std::optional<std::int64_t> calendarTime(double seconds) {
    constexpr double firstYear = -62'135'596'800;
    constexpr double yearAfterLast = 253'402'300'800;
    const bool inCalendar = seconds >= firstYear && seconds < yearAfterLast;
    return inCalendar ? std::optional(static_cast<std::int64_t>(std::floor(seconds)))
                      : std::nullopt;
}

std::size_t hourOfWeek(std::int64_t time) {
    const std::tm parts = localParts(time);
    return daysSinceMonday(parts) * 24 + static_cast<std::size_t>(parts.tm_hour);
}

std::int64_t beginOfWeek(std::int64_t time) {
    std::tm parts = localParts(time);
    parts.tm_mday -= static_cast<int>(daysSinceMonday(parts));
    parts.tm_hour = parts.tm_min = parts.tm_sec = 0;
    parts.tm_isdst = -1;
    return std::mktime(&parts);
}

std::vector<std::pair<std::int64_t, long>> zoneOffsets(std::int64_t first, std::int64_t last) {
    constexpr std::int64_t mostLooks = 5'000;
    const std::int64_t step = std::max(3 * day, (last - first) / mostLooks);
    std::vector<std::pair<std::int64_t, long>> offsets{{first, offset(first)}};
    for (std::int64_t before = first; before < last;) {
        const std::int64_t next = std::min(before + step, last);
        if (const long now = offset(next); now != offsets.back().second) {
            std::int64_t after = next;
            while (after - before > 1) { // the change is in (before, after]
                const std::int64_t middle = before + (after - before) / 2;
                (offset(middle) == now ? after : before) = middle;
            }
            offsets.emplace_back(after, now);
        }
        before = next;
    }
    return offsets;
}

} // namespace Ambrel
