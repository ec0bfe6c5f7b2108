#include "AmbrelKit/Internal/Environment.hpp"

namespace AmbrelKit {

Environment& Environment::shared() {
    static auto& environment = *new Environment; // for hosts that run after main, too
    return environment;
}

} // namespace AmbrelKit
