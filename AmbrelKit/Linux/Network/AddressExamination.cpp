#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"

namespace AmbrelKit::Linux {

Examination examineAddress(const Surroundings& /*surroundings*/, const Report& report) {
    const auto address = ProcessServices::current().addressIPv4();
    report(address ? works(*address)
                   : fails("no wireless, wired or cellular interface has an IPv4 address",
                           "connect to a network (ip -4 address lists what there is)"));
    return nullptr;
}

} // namespace AmbrelKit::Linux
