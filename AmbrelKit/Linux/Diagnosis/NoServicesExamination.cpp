#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"

namespace AmbrelKit::Linux {

Examination examineServices(const Surroundings& /*surroundings*/, const Report& report) {
    report(fails("DNS-SD is not in this build", "build with -DAMBREL_WITH_AVAHI=ON"));
    return nullptr;
}

} // namespace AmbrelKit::Linux
