#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Network/Wireless.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"

namespace AmbrelKit::Linux {

Examination examineWifi(const Surroundings& /*surroundings*/, const Report& report) {
    const auto joined = ProcessServices::current().availableNetworks();
    if (!joined.empty()) {
        report(works(joined.front().interface + ", joined to " +
                     joined.front().ssid.value_or("a network without a name")));
        return nullptr;
    }
    const auto condition = withoutNetwork(wirelessStations());
    report(condition.state == SourceState::listening
               ? works(condition.means + ", not joined to a network now")
               : fails(condition.reason, condition.remedy));
    return nullptr;
}

} // namespace AmbrelKit::Linux
