// gpsd was left out of this build.

#include "AmbrelKit/Linux/Location/LocationSource.hpp"

namespace AmbrelKit::Linux {

LocationSourceFactory gpsdFactory(const std::shared_ptr<EventLoop>& /*loop*/,
                                  const LocationOptions& /*options*/) {
    return {};
}

} // namespace AmbrelKit::Linux
