#ifndef AMBRELKIT_INTERNAL_MODELS_COLLECTIONTHRESHOLD_HPP
#define AMBRELKIT_INTERNAL_MODELS_COLLECTIONTHRESHOLD_HPP

#include <cstdint>

namespace AmbrelKit {

/// The reuse threshold of the process.
struct CollectionThreshold {
    /// Up to how many seconds after its start a finished record answers a scan request; from 0
    /// to 30.
    static inline std::int64_t value = 30;
};

} // namespace AmbrelKit

#endif
