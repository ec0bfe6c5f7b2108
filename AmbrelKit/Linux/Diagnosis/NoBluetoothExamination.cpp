#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"

namespace AmbrelKit::Linux {

Examination examineBluetooth(const Surroundings& /*surroundings*/, const Report& report) {
    report(fails("Bluetooth is not in this build", "build with -DAMBREL_WITH_BLUEZ=ON"));
    return nullptr;
}

} // namespace AmbrelKit::Linux
