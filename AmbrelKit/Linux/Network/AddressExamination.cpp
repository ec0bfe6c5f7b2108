#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"

namespace AmbrelKit::Linux {

Examination examineAddress(const Surroundings& /*surroundings*/, const Report& report) {
    const auto address = ProcessServices::current().addressIPv4();
    if (address) {
        report(works(*address));
    } else {
        const auto condition = Interfaces().addressIPv4().condition;
        report(fails(condition.reason, condition.remedy));
    }
    return nullptr;
}

} // namespace AmbrelKit::Linux
