#include "AmbrelKit/Internal/Environment.hpp"

namespace AmbrelKit {

Environment& Environment::shared() {
    static Environment environment;
    return environment;
}

} // namespace AmbrelKit
