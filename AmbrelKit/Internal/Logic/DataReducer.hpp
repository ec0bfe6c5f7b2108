#ifndef AMBRELKIT_INTERNAL_LOGIC_DATAREDUCER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_DATAREDUCER_HPP

#include "AmbrelKit/Internal/Models/DataEvent.hpp"
#include "AmbrelKit/Internal/Models/Effect.hpp"
#include "AmbrelKit/Internal/Models/State.hpp"

#include <utility>

namespace AmbrelKit {

/// Decides everything about a collection: when one is opened, which record an observation belongs
/// to, when it is over, what the host receives. Reads the process's clock, identifier source and
/// threshold; keeps nothing.
class DataReducer {
public:
    /// The state after `event`, and what is to be done.
    [[nodiscard]] std::pair<State, Effect> reduce(const State& state, const DataEvent& event) const;
};

} // namespace AmbrelKit

#endif
