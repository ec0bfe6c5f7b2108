// GeoClue was left out of this build.

#include "AmbrelKit/Linux/Location/GeoClueWatch.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"

namespace AmbrelKit::Linux {

LocationSourceFactory geoClueFactory(const std::shared_ptr<EventLoop>& /*loop*/,
                                     const LocationOptions& /*options*/) {
    return {};
}

std::shared_ptr<GeoClueWatch> GeoClueWatch::start(EventLoop& /*loop*/,
                                                  const std::shared_ptr<SystemBus>& /*bus*/,
                                                  std::function<void()> /*changed*/) {
    return nullptr;
}

} // namespace AmbrelKit::Linux
