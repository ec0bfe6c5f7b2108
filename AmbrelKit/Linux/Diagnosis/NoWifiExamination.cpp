#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"

namespace AmbrelKit::Linux {

Examination examineWifi(const Surroundings& /*surroundings*/, const Report& report) {
    report(fails("Wi-Fi is not in this build", "build with -DAMBREL_WITH_WIFI=ON"));
    return nullptr;
}

} // namespace AmbrelKit::Linux
