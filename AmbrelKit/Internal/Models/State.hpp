#ifndef AMBRELKIT_INTERNAL_MODELS_STATE_HPP
#define AMBRELKIT_INTERNAL_MODELS_STATE_HPP

#include "AmbrelKit/Internal/Models/CollectedData.hpp"

#include <optional>

namespace AmbrelKit {

/// The whole state of the collection core. A value; copies share what they hold.
struct State {
    /// No record, no timeout, nothing finished.
    [[nodiscard]] static State initialState() { return {}; }

    /// Every record opened since the store was made, one for each collection.
    CollectedData collectedData;

    /// Whether the newest record was more than ten seconds old when an observation was last
    /// handled.
    bool isTimeoutReached = false;

    /// The record that was last delivered; set by the store, absent in every state that the reducer
    /// builds.
    std::optional<AmbrelData> finishedCollectedData;

    // Neither copy carries the finished record over.
    [[nodiscard]] State copyWithCollectedData(CollectedData data) const;
    [[nodiscard]] State copyWithIsTimeoutReached(bool reached) const;

    friend bool operator==(const State&, const State&) = default;
};

} // namespace AmbrelKit

#endif
