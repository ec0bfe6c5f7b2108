#include "AmbrelKit/Internal/Models/State.hpp"

#include <utility>

namespace AmbrelKit {

State State::copyWithCollectedData(CollectedData data) const {
    return {.collectedData = std::move(data),
            .isTimeoutReached = isTimeoutReached,
            .finishedCollectedData = std::nullopt};
}

State State::copyWithIsTimeoutReached(bool reached) const {
    return {.collectedData = collectedData,
            .isTimeoutReached = reached,
            .finishedCollectedData = std::nullopt};
}

} // namespace AmbrelKit
