#include "AmbrelKit/Linux/Location/GeoClueFix.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"

#include <chrono>
#include <cmath>
#include <map>
#include <string_view>

namespace AmbrelKit::Linux {

namespace {

using std::chrono::system_clock;

/// In metres: GeoClue's number for an altitude that it does not know lies far below.
constexpr double deepest = -100'000;

/// The clock's time stands in for one that is absent or beyond the clock's range.
system_clock::time_point timeFrom(std::uint64_t seconds, std::uint64_t microseconds) {
    constexpr auto last = std::chrono::floor<std::chrono::seconds>(system_clock::duration::max());
    if (seconds == 0 || seconds >= static_cast<std::uint64_t>(last.count()) ||
        microseconds >= 1'000'000) {
        return system_clock::now();
    }
    return system_clock::time_point(std::chrono::seconds(seconds) +
                                    std::chrono::microseconds(microseconds));
}

} // namespace

std::optional<LocationFix> fixFromGeoClue(sd_bus_message* properties) {
    std::map<std::string_view, double> numbers{
        {"Latitude", NAN}, {"Longitude", NAN}, {"Accuracy", NAN}, {"Altitude", NAN}};
    std::uint64_t seconds = 0;
    std::uint64_t microseconds = 0;
    readProperties(properties, [&](std::string_view name, std::string_view type) {
        if (const auto number = numbers.find(name); number != numbers.end() && type == "d") {
            return sd_bus_message_read(properties, "v", "d", &number->second) > 0;
        }
        return name == "Timestamp" && type == "(tt)" &&
               sd_bus_message_read(properties, "v", "(tt)", &seconds, &microseconds) > 0;
    });
    const LocationCoordinate coordinate{.latitude = numbers["Latitude"],
                                        .longitude = numbers["Longitude"]};
    if (!isOnEarth(coordinate)) {
        return std::nullopt;
    }
    const auto known = [&](const char* name, double least) {
        const double number = numbers[name];
        return std::isfinite(number) && number >= least ? std::optional(number) : std::nullopt;
    };
    return LocationFix{.coordinate = coordinate,
                       .timestamp = timeFrom(seconds, microseconds),
                       .horizontalAccuracy = known("Accuracy", 0),
                       .altitude = known("Altitude", deepest),
                       .determinedBy = "GeoClue"};
}

} // namespace AmbrelKit::Linux
