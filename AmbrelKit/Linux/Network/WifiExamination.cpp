#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"
#include "AmbrelKit/Linux/Sources/KernelDevices.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <linux/netlink.h>
#include <sys/socket.h>

namespace AmbrelKit::Linux {

Examination examineWifi(const Surroundings& /*surroundings*/, const Report& report) {
    const auto joined = ProcessServices::current().availableNetworks();
    if (!joined.empty()) {
        report(works(joined.front().interface + ", joined to " +
                     joined.front().ssid.value_or("a network without a name")));
    } else if (!kernelHas("ieee80211")) {
        report(fails("there is no Wi-Fi adapter",
                     "plug one in, or load its driver (dmesg says when firmware is missing)"));
    } else if (Descriptor(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_GENERIC)).get() < 0) {
        report(fails("this program may not ask nl80211",
                     "let it use AF_NETLINK sockets (RestrictAddressFamilies= of its unit)"));
    } else {
        report(works("nl80211, not joined to a network now"));
    }
    return nullptr;
}

} // namespace AmbrelKit::Linux
