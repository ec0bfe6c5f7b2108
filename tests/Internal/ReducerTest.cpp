#include "AmbrelKit/Internal/Logic/DataReducer.hpp"
#include "tests/Internal/CoreFixture.hpp"

namespace AmbrelKit {
namespace {

using namespace DataEvents;

class Reducer : public CoreTest {
protected:
    /// Handles an event at a time, as a store does.
    Effect send(double time, const DataEvent& event) {
        now = time;
        clockReadings = 0;
        auto [next, effect] = DataReducer().reduce(state, event);
        EXPECT_EQ(clockReadings, 1) << "the time of an event is one";
        state = next;
        if (std::holds_alternative<Effects::scanFinished>(effect)) {
            state.finishedCollectedData = state.collectedData.last();
        }
        return effect;
    }

    static std::optional<JSONDictionary> finished(const Effect& effect) {
        const auto* data = std::get_if<Effects::scanFinished>(&effect);
        return data != nullptr ? std::optional(data->data) : std::nullopt;
    }
    static bool started(const Effect& effect) {
        return std::holds_alternative<Effects::scanStarted>(effect);
    }
    static bool none(const Effect& effect) { return std::holds_alternative<Effects::none>(effect); }

    static DataEvent sighting(std::uint8_t n, const char* name = "x") {
        return didDiscoverBluetoothPeripheral{{uuid(n), name, at(0)}};
    }
    static DataEvent tick(std::optional<Text> address = {}) {
        return timerDidTick{{std::move(address), WifiNetwork{}}};
    }

    State state = State::initialState();
};

TEST_F(Reducer, ObservationsWithoutARecordChangeNothing) {
    const DataEvent observations[] = {tick(), sighting(1),
                                      didDiscoverNearbyDevice{{"n", "_a", {}, {}, at(0)}},
                                      didUpdateLocation{{1, 2, at(0)}}};
    for (const DataEvent& event : observations) {
        EXPECT_TRUE(none(send(5, event)));
        EXPECT_EQ(state, State::initialState());
    }
}

TEST_F(Reducer, AScanOpensARecordWithTheClockAndTheIdentifierSource) {
    const Effect effect = send(12.5, scan{ScanningMode::once});
    ASSERT_TRUE(started(effect));
    EXPECT_EQ(std::get<Effects::scanStarted>(effect).mode, ScanningMode::once);
    ASSERT_EQ(state.collectedData.records().size(), 1U);
    EXPECT_EQ(state.collectedData.last()->id(), uuid(1).text());
    EXPECT_EQ(state.collectedData.last()->createdAt(), at(12.5));
    EXPECT_FALSE(state.isTimeoutReached);
    const State open = state;
    EXPECT_TRUE(none(send(15.5, scan{ScanningMode::automatic}))) << "a running collection goes on";
    EXPECT_EQ(state, open);
}

TEST_F(Reducer, TheCollectionTakesObservationsForTenSecondsTheEndIncluded) {
    send(100, scan{ScanningMode::once});
    EXPECT_TRUE(none(send(110, tick("192.0.2.1"))));
    EXPECT_EQ(state.collectedData.last()->addressIPv4(), Text("192.0.2.1"));
    const auto record = state.collectedData.last();
    for (int i = 0; i < 2; ++i) { // each observation after the end closes it again
        const auto data = finished(send(110.000001 + i, tick("192.0.2.2")));
        ASSERT_TRUE(data);
        EXPECT_EQ(data->at("ip"), "192.0.2.1");
        EXPECT_EQ(state.collectedData.last(), record);
        EXPECT_TRUE(state.isTimeoutReached);
    }
}

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

TEST_F(Reducer, SightingsOfOnePeripheralMergeAndStaySorted) {
    send(0, scan{ScanningMode::once});
    for (const auto& event : {sighting(7, "old"), sighting(3), sighting(9), sighting(7, "new")}) {
        EXPECT_TRUE(none(send(1, event)));
    }
    const auto list = state.collectedData.last()->bluetoothScan().elements();
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].identifier, uuid(3));
    EXPECT_EQ(list[1].name, Text("new"));
    EXPECT_EQ(list[2].identifier, uuid(9));
}

TEST_F(Reducer, AFinishedRecordAnswersWithinTheThreshold) {
    struct Row {
        std::optional<std::int64_t> threshold; ///< absent: what a process starts with
        double time = 0;
        bool reused = false;
    };
    for (const Row& row : {Row{{}, 30, true}, Row{{}, 30.5, false}, Row{12, 12, true},
                           Row{12, 13, false}, Row{10, 11.5, false}, Row{0, 11.5, false}}) {
        state = State::initialState();
        CollectionThreshold::value = row.threshold.value_or(CollectionThreshold::value);
        send(0, scan{ScanningMode::automatic});
        const auto delivered = finished(send(11, tick()));
        ASSERT_TRUE(delivered);
        const State before = state;
        const Effect effect = send(row.time, scan{ScanningMode::once});
        EXPECT_EQ(started(effect), !row.reused) << row.time;
        if (row.reused) {
            EXPECT_EQ(finished(effect), delivered);
            EXPECT_EQ(state, before);
        } else {
            EXPECT_EQ(state.collectedData.records().size(), 2U);
            EXPECT_FALSE(state.isTimeoutReached);
            EXPECT_FALSE(state.finishedCollectedData);
        }
    }
}

TEST_F(Reducer, AnObservationAfterTheEndDropsWhatWasFinished) {
    send(0, scan{ScanningMode::automatic});
    send(11, tick());
    now = 12;
    const auto [next, effect] = DataReducer().reduce(state, tick());
    EXPECT_TRUE(finished(effect));
    EXPECT_FALSE(next.finishedCollectedData);
}

TEST_F(Reducer, ARecordFromTheFutureIsOpen) {
    send(1000, scan{ScanningMode::once});
    EXPECT_TRUE(none(send(0, scan{ScanningMode::once})));
    EXPECT_TRUE(none(send(0, sighting(1))));
    EXPECT_EQ(state.collectedData.last()->bluetoothScan().elements().size(), 1U);
}

TEST_F(Reducer, ARecordWithoutJSONIsNeverFinishedButAnswersEmpty) {
    send(0, scan{ScanningMode::once});
    send(1, didUpdateLocation{{std::nan(""), 0, at(0)}});
    EXPECT_TRUE(none(send(11, tick())));
    EXPECT_TRUE(state.isTimeoutReached);
    state.finishedCollectedData = state.collectedData.last();
    EXPECT_EQ(finished(send(12, scan{ScanningMode::once})), JSONDictionary());
}

TEST_F(Reducer, CopiesOfAStateDropWhatWasFinished) {
    send(0, scan{ScanningMode::once});
    State full = state;
    full.finishedCollectedData = full.collectedData.last();
    EXPECT_NE(full, state);
    EXPECT_FALSE(full.copyWithCollectedData({}).finishedCollectedData);
    EXPECT_FALSE(full.copyWithIsTimeoutReached(true).finishedCollectedData);
    EXPECT_EQ(full.copyWithIsTimeoutReached(false), state);
    EXPECT_NE(full.copyWithIsTimeoutReached(true), state);
}

TEST_F(Reducer, SnapshotsAreTakenOncePerCopy) {
    const auto asked = [&](double time, const DataEvent& event) {
        permissions()->asked.clear();
        send(time, event);
        return permissions()->asked.size() / 7;
    };
    EXPECT_EQ(asked(0, scan{ScanningMode::once}), 1U);
    EXPECT_EQ(asked(1, tick()), 2U);
    EXPECT_EQ(asked(1, sighting(1)), 1U);
    EXPECT_EQ(asked(1, didUpdateLocation{{1, 1, at(0)}}), 1U);
    EXPECT_EQ(asked(2, scan{ScanningMode::once}), 0U);
    EXPECT_EQ(asked(11, tick()), 0U);
}

} // namespace
} // namespace AmbrelKit
