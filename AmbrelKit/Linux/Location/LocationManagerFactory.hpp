#ifndef AMBRELKIT_LINUX_LOCATION_LOCATIONMANAGERFACTORY_HPP
#define AMBRELKIT_LINUX_LOCATION_LOCATIONMANAGERFACTORY_HPP

#include "AmbrelKit/Linux/Location/LocationOptions.hpp"
#include "AmbrelKit/Platform/LocationManager.hpp"

#include <memory>

namespace AmbrelKit::Linux {

class EventLoop;

/// Makes managers that work on `loop`. Throws std::invalid_argument when `options` has a gpsd
/// address that is not numeric.
///
/// A manager reports from the loop, one call a turn. Asking for the authorisation asks GeoClue:
/// while there is no answer (no agent, a daemon that hangs) the status stays `notDetermined`, and
/// after 3 s a failure says so; an answer counts whenever it comes. A refusal is `denied`, and what
/// was not yet reported is dropped; it holds until GeoClue serves again, also for the managers that
/// the same factory makes later. A client that runs is `authorizedWhenInUse`. gpsd needs no
/// authorisation. A daemon that goes is taken up again when it comes back, and takes no
/// authorisation with it. A missing daemon is a failure that is told, and nothing more. A source
/// that was left out of the build is never chosen; without any, the location is restricted.
///
/// On the loop's board the location is idle while no manager asks. Of several managers the newest
/// that listens stands there, or, where none does, the newest.
[[nodiscard]] LocationManagerFactory
makeLocationManagerFactory(const std::shared_ptr<EventLoop>& loop, const LocationOptions& options);

} // namespace AmbrelKit::Linux

#endif
