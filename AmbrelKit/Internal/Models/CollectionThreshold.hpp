#ifndef AMBRELKIT_INTERNAL_MODELS_COLLECTIONTHRESHOLD_HPP
#define AMBRELKIT_INTERNAL_MODELS_COLLECTIONTHRESHOLD_HPP

#include <cstdint>

namespace AmbrelKit {

/// The reuse threshold of the process.
struct CollectionThreshold {
    static constexpr std::int64_t initial = 30;
    /// Up to how many seconds after its start a finished record answers a scan request; from 0
    /// to 30.
    static inline std::int64_t value = initial;
};

} // namespace AmbrelKit

#endif
