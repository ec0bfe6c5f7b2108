#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"

namespace AmbrelKit::Linux {

Examination examineWifi(const Surroundings& /*surroundings*/, const Report& report) {
    const auto joined = ProcessServices::current().availableNetworks();
    if (!joined.empty()) {
        report(works(joined.front().interface + ", joined to " +
                     joined.front().ssid.value_or("a network without a name")));
    } else if (kernelHas("ieee80211")) {
        report(works("nl80211, not joined to a network now"));
    } else {
        report(fails("there is no Wi-Fi adapter",
                     "plug one in, or load its driver (dmesg says when firmware is missing)"));
    }
    return nullptr;
}

} // namespace AmbrelKit::Linux
