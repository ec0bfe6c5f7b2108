#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"

#include <filesystem>
#include <system_error>

namespace AmbrelKit::Linux {

namespace {

bool hasRadio() {
    std::error_code error;
    return !std::filesystem::is_empty("/sys/class/ieee80211", error) && !error;
}

} // namespace

Examination examineWifi(const Surroundings& /*surroundings*/, const Report& report) {
    const auto joined = ProcessServices::current().availableNetworks();
    if (!joined.empty()) {
        report(works(joined.front().interface + ", joined to " +
                     joined.front().ssid.value_or("a network without a name")));
    } else if (hasRadio()) {
        report(works("nl80211, not joined to a network now"));
    } else {
        report(fails("there is no Wi-Fi adapter",
                     "plug one in, or load its driver (dmesg says when firmware is missing)"));
    }
    return nullptr;
}

} // namespace AmbrelKit::Linux
