#ifndef AMBRELKIT_INTERNAL_LOGIC_DATASTORE_HPP
#define AMBRELKIT_INTERNAL_LOGIC_DATASTORE_HPP

#include "AmbrelKit/Internal/Logic/DataReducer.hpp"

#include <memory>

namespace AmbrelKit {

/// The one place where the collection state lives. Every event goes through `sendEvent`.
class DataStore : public std::enable_shared_from_this<DataStore> {
public:
    DataStore(State initialState, std::shared_ptr<const DataReducer> reducer,
              DataEnvironment environment);

    [[nodiscard]] const State& state() const { return state_; }

    /// Reduces the event, keeps the new state, then carries the effect out. A callback may send
    /// further events: it finds the new state. What a callback throws leaves through here, with the
    /// new state kept; what `startScan` throws, with the state from before.
    void sendEvent(const DataEvent& event);

    /// Keeps the newest `limit` records from now on; absent: all of them.
    void limitHistory(std::optional<std::size_t> limit);

private:
    void replaceState(State&& state);

    State state_;
    std::shared_ptr<const DataReducer> reducer_;
    DataEnvironment environment_;
};

} // namespace AmbrelKit

#endif
