#ifndef AMBRELKIT_LINUX_LOCATION_LOCATIONOPTIONS_HPP
#define AMBRELKIT_LINUX_LOCATION_LOCATIONOPTIONS_HPP

#include <cstdint>
#include <string>

namespace AmbrelKit::Linux {

/// How exactly GeoClue is asked for the location. The user's own setting may allow less; then no
/// fix may come at all.
enum class LocationAccuracy : std::uint32_t {
    country = 1,      ///< the country
    city = 4,         ///< the city
    neighborhood = 5, ///< the part of the city
    street = 6,       ///< the street
    exact = 8,        ///< as exactly as can be had
};

/// Where fixes come from.
enum class LocationSourceKind {
    /// GeoClue, and gpsd while GeoClue is not there: it cannot be started, fails, or has said
    /// nothing for 3 s. Once GeoClue asks the user, serves or refuses, that holds: no fix is taken
    /// from gpsd any more. A host whose users want gpsd all the same chooses `gpsd`.
    automatic,
    /// GeoClue alone. What it asks in turn to place a device without a GPS receiver (a web service
    /// that is told which networks are near) is up to its configuration.
    geoClue,
    /// gpsd alone, which tells nobody and asks nobody.
    gpsd,
    /// No fixes: the location is restricted.
    none,
};

/// Where a kit's fixes come from, and to whom they go. Plain values, copied when they are handed
/// over.
struct LocationOptions {
    /// Which daemons are asked.
    LocationSourceKind source = LocationSourceKind::automatic;
    /// The name of the host's desktop file, without `.desktop`: whom the user permits or refuses.
    /// Where it is empty, the main bundle's identifier stands in; without that, the application
    /// that the desktop started this process as; without that, the program's name.
    std::string desktopId = {};
    /// How exact a fix GeoClue is asked for; gpsd's are as exact as its receiver.
    LocationAccuracy accuracy = LocationAccuracy::exact;
    /// gpsd's address, a numeric IPv4 or IPv6 one; names are not looked up.
    std::string gpsdAddress = "127.0.0.1";
    /// The port, 1 to 65535.
    std::uint16_t gpsdPort = 2947;
};

} // namespace AmbrelKit::Linux

#endif
