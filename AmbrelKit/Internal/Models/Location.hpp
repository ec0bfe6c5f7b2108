#ifndef AMBRELKIT_INTERNAL_MODELS_LOCATION_HPP
#define AMBRELKIT_INTERNAL_MODELS_LOCATION_HPP

#include "AmbrelKit/Internal/Extensions/JSONEncoder.hpp"

namespace AmbrelKit {

/// One location fix; degrees.
struct Location {
    double latitude = 0;
    double longitude = 0;
    std::chrono::system_clock::time_point timestamp; ///< when the fix was determined

    friend bool operator==(const Location&, const Location&) = default;

    [[nodiscard]] JSONValue encode(const JSONEncoder& encoder) const;
};

} // namespace AmbrelKit

#endif
