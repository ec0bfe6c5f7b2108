// Wi-Fi was left out of this build.

#include "AmbrelKit/Linux/Network/Wireless.hpp"

namespace AmbrelKit::Linux {

std::vector<std::string> wirelessStations() { return {}; }

std::optional<Association> association(const std::string& /*interface*/) { return std::nullopt; }

} // namespace AmbrelKit::Linux
