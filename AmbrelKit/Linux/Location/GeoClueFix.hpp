#ifndef AMBRELKIT_LINUX_LOCATION_GEOCLUEFIX_HPP
#define AMBRELKIT_LINUX_LOCATION_GEOCLUEFIX_HPP

#include "AmbrelKit/Platform/LocationManager.hpp"

#include <optional>

struct sd_bus_message;

namespace AmbrelKit::Linux {

/// The fix in all the properties of one of GeoClue's locations: nothing without a place on Earth. A
/// fix without a time that can be read was determined now.
std::optional<LocationFix> fixFromGeoClue(sd_bus_message* properties);

} // namespace AmbrelKit::Linux

#endif
