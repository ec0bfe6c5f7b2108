#include "AmbrelKit/Internal/Logic/DataStore.hpp"
#include "tests/Internal/CoreFixture.hpp"

#include <stdexcept>

namespace AmbrelKit {
namespace {

using namespace DataEvents;

class Store : public CoreTest {
protected:
    std::shared_ptr<DataStore> store = std::make_shared<DataStore>(
        State::initialState(), std::make_shared<DataReducer>(),
        DataEnvironment{[this](ScanningMode mode) { startScan(mode); }, [this] { stopScan(); },
                        [this](const JSONDictionary& data) { notifyDelegate(data); }});

    std::function<void(ScanningMode)> startScan = [this](ScanningMode) {
        calls.emplace_back("start");
    };
    std::function<void()> stopScan = [this] { calls.emplace_back("stop"); };
    std::function<void(const JSONDictionary&)> notifyDelegate = [this](const JSONDictionary&) {
        calls.emplace_back("notify");
    };
    std::vector<std::string> calls;

    const DataEvent tick = timerDidTick{};
};

TEST_F(Store, KeepsTheNewStateBeforeItCallsOut) {
    startScan = [&](ScanningMode mode) {
        EXPECT_EQ(mode, ScanningMode::once);
        EXPECT_FALSE(store->state().collectedData.empty());
        calls.emplace_back("start");
    };
    stopScan = [&] {
        EXPECT_EQ(store->state().finishedCollectedData, store->state().collectedData.last());
        calls.emplace_back("stop");
    };
    store->sendEvent(scan{ScanningMode::once});
    now = 11;
    store->sendEvent(tick);
    store->sendEvent(tick);
    EXPECT_EQ(calls, (std::vector<std::string>{"start", "stop", "notify", "stop", "notify"}));
}

TEST_F(Store, ACallbackMaySendLetGoOrThrow) {
    store->sendEvent(scan{ScanningMode::once});
    now = 11;
    notifyDelegate = [&](const JSONDictionary&) {
        notifyDelegate = [&](const JSONDictionary& again) {
            calls.push_back("again " + again.at("timestamp").dump());
        };
        store->sendEvent(scan{ScanningMode::once}); // finds the finished record
        throw std::runtime_error("host");
    };
    EXPECT_THROW(store->sendEvent(tick), std::runtime_error);
    EXPECT_EQ(calls.back(), "again 0");
    EXPECT_TRUE(store->state().finishedCollectedData) << "the state is the one after the event";

    notifyDelegate = [&](const JSONDictionary&) { calls.emplace_back("last"); };
    stopScan = [&] { store.reset(); };
    store->sendEvent(tick);
    EXPECT_EQ(calls.back(), "last");
}

TEST_F(Store, AHostThatThrowsWhenAskedLeavesTheStateAsItWas) {
    store->sendEvent(scan{ScanningMode::once});
    const State before = store->state();
    permissions()->whenAsked = [] { throw std::runtime_error("asked"); };
    EXPECT_THROW(store->sendEvent(tick), std::runtime_error);
    EXPECT_EQ(store->state(), before);
}

TEST_F(Store, WhatAHostSendsWhenAskedMakesNoSecondRecord) {
    permissions()->whenAsked = [&] {
        permissions()->whenAsked = [] {};
        store->sendEvent(scan{ScanningMode::once});
    };
    store->sendEvent(scan{ScanningMode::once});
    EXPECT_EQ(store->state().collectedData.records().size(), 1U) << "the state of the event counts";
}

TEST_F(Store, AHistoryLimitHoldsFromNowOnAndLeavesTheFinishedRecord) {
    for (int i = 0; i < 5; ++i) {
        now = i * 100;
        store->sendEvent(scan{ScanningMode::once});
        now += 11;
        store->sendEvent(tick);
    }
    store->limitHistory(2);
    EXPECT_EQ(store->state().collectedData.records().size(), 2U);
    EXPECT_EQ(store->state().finishedCollectedData, store->state().collectedData.last());
}

} // namespace
} // namespace AmbrelKit
