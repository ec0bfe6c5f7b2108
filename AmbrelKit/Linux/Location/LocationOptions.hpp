#ifndef AMBRELKIT_LINUX_LOCATION_LOCATIONOPTIONS_HPP
#define AMBRELKIT_LINUX_LOCATION_LOCATIONOPTIONS_HPP

#include <cstdint>
#include <string>

namespace AmbrelKit::Linux {

/// How exactly GeoClue is asked for the location. The user's own setting may allow less; then no
/// fix may come at all.
enum class LocationAccuracy : std::uint32_t {
    country = 1,
    city = 4,
    neighborhood = 5,
    street = 6,
    exact = 8,
};

/// Where fixes come from.
enum class LocationSourceKind {
    /// GeoClue; gpsd joins when GeoClue is absent, refuses, or has given no fix after 3 s, and the
    /// first of the two that has a fix stays. GeoClue's refusal does not bind gpsd, which asks
    /// nobody: where it must, choose `geoClue`.
    automatic,
    /// GeoClue alone. What it asks in turn to place a device without a GPS receiver (a web service
    /// that is told which networks are near) is up to its configuration.
    geoClue,
    /// gpsd alone, which tells nobody and asks nobody.
    gpsd,
    /// No fixes: the location is restricted.
    none,
};

struct LocationOptions {
    LocationSourceKind source = LocationSourceKind::automatic;
    /// The name of the host's desktop file, without `.desktop`: whom the user permits or refuses.
    /// GeoClue refuses whoever gives none.
    std::string desktopId = {};
    LocationAccuracy accuracy = LocationAccuracy::exact;
    /// gpsd's address, a numeric IPv4 or IPv6 one, and its port.
    std::string gpsdAddress = "127.0.0.1";
    std::uint16_t gpsdPort = 2947;
};

} // namespace AmbrelKit::Linux

#endif
