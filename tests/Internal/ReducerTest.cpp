#include "AmbrelKit/Internal/Logic/DataReducer.hpp"
#include "tests/Internal/CoreFixture.hpp"

namespace AmbrelKit {
namespace {

using namespace DataEvents;

/// What no trace of a replay shows (tests/Simulated/Replay/scripts).
class Reducer : public CoreTest {
protected:
    /// Handles an event at a time, as a store does.
    void send(double time, const DataEvent& event) {
        now = time;
        clockReadings = 0;
        auto [next, effect] = DataReducer().reduce(state, event);
        EXPECT_EQ(clockReadings, 1) << "the time of an event is one";
        state = next;
        if (std::holds_alternative<Effects::scanFinished>(effect)) {
            state.finishedCollectedData = state.collectedData.last();
        }
    }

    static DataEvent tick(std::optional<Text> address = {}) {
        return timerDidTick{{std::move(address), WifiNetwork{}}};
    }

    State state = State::initialState();
};

TEST_F(Reducer, ATickCarriesItsAbsencesAndAFixReplacesTheLast) {
    send(0, scan{ScanningMode::once});
    send(1, tick("192.0.2.1"));
    send(2, didUpdateLocation{{1, 2, at(1)}});
    send(3, didUpdateLocation{{3, 4, at(2)}});
    send(4, timerDidTick{{std::nullopt, std::nullopt}});
    const auto& record = *state.collectedData.last();
    EXPECT_EQ(record.addressIPv4(), std::nullopt);
    EXPECT_EQ(record.networkInfo(), std::nullopt);
    EXPECT_EQ(record.location(), (Location{3, 4, at(2)}));
}

TEST_F(Reducer, AnObservationAfterTheEndDropsWhatWasFinished) {
    send(0, scan{ScanningMode::automatic});
    send(11, tick());
    now = 12;
    const auto [next, effect] = DataReducer().reduce(state, tick());
    EXPECT_TRUE(std::holds_alternative<Effects::scanFinished>(effect));
    EXPECT_FALSE(next.finishedCollectedData);
}

TEST_F(Reducer, SnapshotsAreTakenOncePerCopy) {
    const auto asked = [&](double time, const DataEvent& event) {
        permissions()->asked.clear();
        send(time, event);
        return permissions()->asked.size() / 7;
    };
    EXPECT_EQ(asked(0, scan{ScanningMode::once}), 1U);
    EXPECT_EQ(asked(1, tick()), 2U);
    EXPECT_EQ(asked(1, didDiscoverBluetoothPeripheral{{uuid(1), "x", at(0)}}), 1U);
    EXPECT_EQ(asked(1, didUpdateLocation{{1, 1, at(0)}}), 1U);
    EXPECT_EQ(asked(2, scan{ScanningMode::once}), 0U);
    EXPECT_EQ(asked(11, tick()), 0U);
}

} // namespace
} // namespace AmbrelKit
