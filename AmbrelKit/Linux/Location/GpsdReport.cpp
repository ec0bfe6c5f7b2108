#include "AmbrelKit/Linux/Location/GpsdReport.hpp"

#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

namespace AmbrelKit::Linux {

namespace {

using std::chrono::system_clock;

/// Years whose every moment fits the clock's nanoseconds.
constexpr std::chrono::year firstYear{1678};
constexpr std::chrono::year lastYear{2261};

bool isDigit(char character) { return character >= '0' && character <= '9'; }

/// What follows the seconds: nothing, or a point and decimals.
std::optional<std::chrono::nanoseconds> fractionFrom(std::string_view text) {
    if (text.empty()) {
        return std::chrono::nanoseconds(0);
    }
    if (text.size() < 2 || text[0] != '.' || !std::all_of(text.begin() + 1, text.end(), isDigit)) {
        return std::nullopt;
    }
    std::string decimals(text.substr(1, 9));
    decimals.resize(9, '0');
    return std::chrono::nanoseconds(std::stol(decimals));
}

std::optional<double> number(const JSONValue& report, const char* key) {
    const auto value = report.find(key);
    return value != report.end() && value->is_number() ? std::optional(value->get<double>())
                                                       : std::nullopt;
}

std::string text(const JSONValue& report, const char* key) {
    const auto value = report.find(key);
    return value != report.end() && value->is_string() ? value->get<std::string>() : "";
}

std::optional<LocationFix> fixFrom(const JSONValue& report, system_clock::time_point now) {
    const auto mode = number(report, "mode");
    const auto latitude = number(report, "lat");
    const auto longitude = number(report, "lon");
    if (text(report, "class") != "TPV" || (mode != 2 && mode != 3) || !latitude || !longitude) {
        return std::nullopt;
    }
    const LocationCoordinate coordinate{.latitude = *latitude, .longitude = *longitude};
    if (!isOnEarth(coordinate)) {
        return std::nullopt;
    }
    const auto altitude = number(report, "altMSL");
    return LocationFix{.coordinate = coordinate,
                       .timestamp = timeFromGpsd(text(report, "time")).value_or(now),
                       .horizontalAccuracy = number(report, "eph"),
                       .altitude = altitude ? altitude : number(report, "alt"), // before 3.20
                       .verticalAccuracy = number(report, "epv"),
                       .determinedBy = "gpsd"};
}

} // namespace

std::optional<system_clock::time_point> timeFromGpsd(std::string_view text) {
    using namespace std::chrono;
    constexpr std::string_view shape = "0000-00-00T00:00:00";
    const auto fits = [](char expected, char actual) {
        return expected == '0' ? isDigit(actual) : actual == expected;
    };
    if (text.size() <= shape.size() || text.back() != 'Z' ||
        !std::equal(shape.begin(), shape.end(), text.begin(), fits)) {
        return std::nullopt;
    }
    const auto number = [text](std::size_t offset, std::size_t digits) {
        int value = 0;
        std::from_chars(text.data() + offset, text.data() + offset + digits, value);
        return value;
    };
    const year_month_day date{year(number(0, 4)), month(static_cast<unsigned>(number(5, 2))),
                              day(static_cast<unsigned>(number(8, 2)))};
    const hours hour(number(11, 2));
    const minutes minute(number(14, 2));
    const std::chrono::seconds second(number(17, 2));
    const auto fraction = fractionFrom(text.substr(shape.size(), text.size() - shape.size() - 1));
    if (!fraction || !date.ok() || date.year() < firstYear || date.year() > lastYear ||
        hour > hours(23) || minute > minutes(59) ||
        second > std::chrono::seconds(60)) { // 60: a leap second
        return std::nullopt;
    }
    return floor<system_clock::duration>(sys_days(date) + hour + minute + second + *fraction);
}

std::optional<LocationFix> fixFromGpsdReport(std::string_view line, system_clock::time_point now) {
    if (line.find(R"("TPV")") == std::string_view::npos) {
        return std::nullopt; // satellites and the like, which are longer, are not parsed
    }
    try {
        return fixFrom(readJSON(line), now);
    } catch (const JSONTextError&) {
        return std::nullopt;
    }
}

} // namespace AmbrelKit::Linux
