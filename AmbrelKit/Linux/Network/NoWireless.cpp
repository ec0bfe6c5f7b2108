// Wi-Fi was left out of this build.

#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Network/Wireless.hpp"

namespace AmbrelKit::Linux {

std::vector<std::string> wirelessStations() { return {}; }

std::optional<Association> association(const std::string& /*interface*/) { return std::nullopt; }

Examination examineWifi(const Surroundings& /*surroundings*/, const Report& report) {
    report(fails("Wi-Fi is not in this build", "build with -DAMBREL_WITH_WIFI=ON"));
    return nullptr;
}

} // namespace AmbrelKit::Linux
