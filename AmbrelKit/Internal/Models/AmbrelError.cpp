#include <AmbrelKit/AmbrelError.hpp>

namespace AmbrelKit {

const char* AmbrelError::what() const noexcept {
    return "Threshold must be more than 0 and less than 30";
}

} // namespace AmbrelKit
