#include "AmbrelKit/Internal/Logic/DataStore.hpp"

#include <utility>

namespace AmbrelKit {

DataStore::DataStore(State initialState, std::shared_ptr<const DataReducer> reducer,
                     DataEnvironment environment)
    : state_(std::move(initialState)), reducer_(std::move(reducer)),
      environment_(std::move(environment)) {}

void DataStore::sendEvent(const DataEvent& event) {
    const auto keep = weak_from_this().lock(); // a callback may let go of this store
    const State before =
        state_; // the host is asked while the event is reduced, and may send events
    auto [after, effect] = reducer_->reduce(before, event);
    replaceState(std::move(after));
    if (const auto* started = std::get_if<Effects::scanStarted>(&effect)) {
        try {
            environment_.startScan(started->mode);
        } catch (...) {
            replaceState(State(before)); // with its record open, the next request would be ignored
            throw;
        }
    } else if (const auto* finished = std::get_if<Effects::scanFinished>(&effect)) {
        state_.finishedCollectedData = state_.collectedData.last();
        environment_.stopScan();
        environment_.notifyDelegate(finished->data);
    }
}

/// A limit that the host has set meanwhile stays.
void DataStore::replaceState(State&& state) {
    const auto limit = state_.collectedData.limit();
    state_ = std::move(state);
    if (state_.collectedData.limit() != limit) {
        limitHistory(limit);
    }
}

void DataStore::limitHistory(std::optional<std::size_t> limit) {
    state_.collectedData = state_.collectedData.limitedTo(limit);
}

} // namespace AmbrelKit
