#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"

#include <cerrno>
#include <system_error>

namespace AmbrelKit::Linux {

namespace {

Finding whyThereIsNone() {
    const auto addresses = Interfaces().addresses();
    if (!addresses) {
        return fails("the kernel does not tell the addresses: " +
                         std::generic_category().message(errno),
                     "let this program use AF_INET sockets (RestrictAddressFamilies= of its unit)");
    }
    for (const AddressEntry& entry : *addresses) {
        if (entry.kind == LinkKind::bridge && entry.routeMetric) {
            return fails("the address is that of " + entry.interface +
                             ", a bridge, and those are left out",
                         "give it to a port of this machine's instead, or to a VLAN of one");
        }
        if (entry.kind == LinkKind::accessPoint) {
            return fails(entry.interface + " is this machine's own access point, and joins nothing",
                         "connect to a network with another interface");
        }
    }
    return fails("no wireless, wired or cellular interface has an IPv4 address",
                 "connect to a network (ip -4 address lists what there is)");
}

} // namespace

Examination examineAddress(const Surroundings& /*surroundings*/, const Report& report) {
    const auto address = ProcessServices::current().addressIPv4();
    report(address ? works(*address) : whyThereIsNone());
    return nullptr;
}

} // namespace AmbrelKit::Linux
