#include "AmbrelKit/Internal/Logic/DataReducer.hpp"

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Models/CollectionThreshold.hpp"

#include <limits>

namespace AmbrelKit {

namespace {

using TimePoint = Environment::TimePoint;

/// How long a record takes observations in, seconds.
constexpr double collectionPeriod = 10.0;

/// Seconds; negative when the record was opened in what is now the future.
double age(const AmbrelData& data, TimePoint now) {
    const TimePoint opened = data.createdAt();
    TimePoint::rep distance = 0;
    if (__builtin_sub_overflow(now.time_since_epoch().count(), opened.time_since_epoch().count(),
                               &distance)) { // a clock that was set by centuries
        return now < opened ? -std::numeric_limits<double>::infinity()
                            : std::numeric_limits<double>::infinity();
    }
    return std::chrono::duration<double>(TimePoint::duration(distance)).count();
}

bool isTimeoutNotExceeded(TimePoint now, const AmbrelData& data) {
    return age(data, now) <= collectionPeriod;
}

bool isWithinThreshold(TimePoint now, const AmbrelData& data) {
    return age(data, now) <= static_cast<double>(CollectionThreshold::value);
}

std::optional<JSONDictionary> lastJSONData(const State& state) {
    const auto& last = state.collectedData.last();
    return last ? JSONEncoder::serialize(*last) : std::nullopt;
}

Effect effect(const State& state) {
    if (state.isTimeoutReached) {
        if (auto data = lastJSONData(state)) {
            return Effects::scanFinished{*std::move(data)};
        }
    }
    return Effects::none{};
}

// What each observation makes of the record that is open.

AmbrelData updated(const AmbrelData& record, const DataEvents::timerDidTick& event) {
    return record.copyWithAddressIPv4(event.network.addressIPv4)
        .copyWithNetworkInfo(event.network.info);
}

AmbrelData updated(const AmbrelData& record, const DataEvents::didUpdateLocation& event) {
    return record.copyWithLocation(event.location);
}

AmbrelData updated(const AmbrelData& record,
                   const DataEvents::didDiscoverBluetoothPeripheral& event) {
    return record.copyWithBluetoothScan(record.bluetoothScan().appending(event.peripheral));
}

AmbrelData updated(const AmbrelData& record, const DataEvents::didDiscoverNearbyDevice& event) {
    return record.copyWithNearbyDevices(record.nearbyDevices().appending(event.device));
}

/// One event on one state, at one time.
class Reduction {
public:
    explicit Reduction(const State& state)
        : state_(state), now_(Environment::shared().currentDate()) {}

    std::pair<State, Effect> operator()(const DataEvents::scan& event) const {
        const auto& finished = state_.finishedCollectedData;
        if (finished && isWithinThreshold(now_, *finished)) {
            return {state_, Effects::scanFinished{
                                JSONEncoder::serialize(*finished).value_or(JSONDictionary())}};
        }
        if (currentRecord() != nullptr) {
            return {state_, Effects::none{}};
        }
        const UUID uuid = Environment::shared().generateUUID();
        const auto list = state_.collectedData.appending(AmbrelData::new_(uuid, now_));
        return {state_.copyWithCollectedData(list).copyWithIsTimeoutReached(false),
                Effects::scanStarted{event.mode}};
    }

    template <class Observation>
    std::pair<State, Effect> operator()(const Observation& event) const {
        const AmbrelData* const current = currentRecord();
        const bool isTimeoutReached = current == nullptr && !state_.collectedData.empty();
        const auto record =
            current != nullptr ? std::optional(updated(*current, event)) : std::nullopt;
        State next{.collectedData = state_.collectedData.appending(record),
                   .isTimeoutReached = isTimeoutReached,
                   .finishedCollectedData = std::nullopt};
        Effect after = effect(next);
        return {std::move(next), std::move(after)};
    }

private:
    /// The newest record, if it still takes observations in; every other one is older.
    [[nodiscard]] const AmbrelData* currentRecord() const {
        const auto& last = state_.collectedData.last();
        return last && isTimeoutNotExceeded(now_, *last) ? &*last : nullptr;
    }

    const State& state_;
    TimePoint now_;
};

} // namespace

std::pair<State, Effect> DataReducer::reduce(const State& state, const DataEvent& event) const {
    return std::visit(Reduction(state), event);
}

} // namespace AmbrelKit
