#ifndef AMBRELKIT_INTERNAL_MODELS_EFFECT_HPP
#define AMBRELKIT_INTERNAL_MODELS_EFFECT_HPP

#include "AmbrelKit/Internal/Models/ScanningMode.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <functional>
#include <variant>

namespace AmbrelKit {

/// What is to be done after an event was handled.
namespace Effects {

/// A collection was opened: start to scan.
struct scanStarted {
    ScanningMode mode;
};

/// A collection is finished, or a recent one answers again: stop the scan, hand the dictionary
/// over.
struct scanFinished {
    JSONDictionary data;
};

struct none {};

} // namespace Effects

using Effect = std::variant<Effects::scanStarted, Effects::scanFinished, Effects::none>;

/// How a store carries effects out.
struct DataEnvironment {
    std::function<void(ScanningMode)> startScan;
    std::function<void()> stopScan; ///< before `notifyDelegate`
    std::function<void(const JSONDictionary&)> notifyDelegate;
};

} // namespace AmbrelKit

#endif
