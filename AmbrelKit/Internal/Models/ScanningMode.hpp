#ifndef AMBRELKIT_INTERNAL_MODELS_SCANNINGMODE_HPP
#define AMBRELKIT_INTERNAL_MODELS_SCANNINGMODE_HPP

namespace AmbrelKit {

enum class ScanningMode {
    automatic, ///< kept alive: again at each activation, with a background task
    once,      ///< a single collection
};

} // namespace AmbrelKit

#endif
