#include "AmbrelKit/Simulated/Host.hpp"

#include <gtest/gtest.h>
#include <stdexcept>

namespace AmbrelKit::Simulated {
namespace {

using namespace std::chrono_literals;

/// A host on a simulated platform that is granted every permission.
class Facade : public testing::Test {
protected:
    Facade() {
        for (const auto query : {StatusQuery::bluetoothPermission, StatusQuery::locationPermission,
                                 StatusQuery::networkPermission}) {
            host.setStatus(query, AmbrelPermissionStatus::granted);
        }
        host.setDeliveryHandler([this](const JSONDictionary& data) { delivered.push_back(data); });
        platform.setSink([this](const Event& event) {
            if (event.object != "delegate") {
                calls.append(event.object).append(".").append(event.operation).append(" ");
            }
        });
    }

    void refuseEverything() {
        for (const auto query : {StatusQuery::bluetoothPermission, StatusQuery::locationPermission,
                                 StatusQuery::networkPermission}) {
            host.setStatus(query, AmbrelPermissionStatus::denied);
        }
    }

    // What the host and the platform still write to when they go.
    std::vector<JSONDictionary> delivered;
    std::string calls;

    Platform platform;
    Host host{platform, {{"_ipp._tcp."}}};
};

TEST_F(Facade, ACollectionHoldsWhatEachSourceReported) {
    host.sdk()->startScanningOnce();
    platform.bluetooth().reportState(BluetoothManagerState::poweredOn);
    platform.bluetooth().reportDiscovery({.identifier = UUID(), .name = "Lamp"});
    platform.location().reportAuthorization(LocationAuthorizationStatus::authorizedWhenInUse);
    platform.clock().advanceBy(10s);
    EXPECT_TRUE(delivered.empty());
    platform.clock().advanceBy(1s);
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].at("bleScan").at(0).at("name"), "Lamp");
    calls.clear();
    platform.clock().advanceBy(100s);
    EXPECT_EQ(calls, "") << "nothing goes on after the delivery";
}

TEST_F(Facade, TheThresholdTakesZeroToThirty) {
    for (const std::int64_t good : {0, 30, 17}) {
        EXPECT_NO_THROW(host.sdk()->setAmbrelTimeThreshold(good));
        EXPECT_TRUE(host.sdk()->setAmbrelTimeThreshold(good, nullptr));
    }
    for (const std::int64_t bad :
         {std::int64_t{31}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
        try {
            host.sdk()->setAmbrelTimeThreshold(bad);
            ADD_FAILURE() << bad;
        } catch (const AmbrelError& error) {
            EXPECT_EQ(error, AmbrelError::invalidThresholdValue);
            EXPECT_STREQ(error.what(), "Threshold must be more than 0 and less than 30");
        }
        ErrorObject object;
        EXPECT_FALSE(host.sdk()->setAmbrelTimeThreshold(bad, &object));
        EXPECT_EQ(object.domain, "AmbrelKit.AmbrelError");
        EXPECT_EQ(object.code, 0);
        EXPECT_EQ(object.description, "Threshold must be more than 0 and less than 30");
    }
    host.sdk()->startScanningOnce(); // 17 still holds
    platform.clock().advanceBy(17s);
    host.sdk()->startScanningOnce();
    EXPECT_EQ(delivered.size(), 2U);
}

TEST_F(Facade, AHostMayDropTheFacadeInAnyDelivery) {
    const auto drop = [this](const JSONDictionary& data) {
        delivered.push_back(data);
        host.release();
    };
    host.setDeliveryHandler(drop);
    host.sdk()->startScanning();
    platform.clock().advanceBy(20s); // inside a tick
    EXPECT_EQ(delivered.size(), 1U);

    host.create();
    refuseEverything();
    host.sdk()->startScanning(); // inside the public call
    EXPECT_EQ(delivered.size(), 2U);
    EXPECT_FALSE(host.sdk());
    platform.clock().advanceBy(100s);
    platform.notificationCenter().post(ApplicationDidBecomeActiveNotification);
    EXPECT_EQ(delivered.size(), 2U) << "nothing of a dropped facade runs";
}

TEST_F(Facade, AHostMayStartAgainAndReplaceTheDelegateInADelivery) {
    int deliveries = 0;
    host.setDeliveryHandler([&](const JSONDictionary&) {
        if (++deliveries == 1) {
            host.sdk()->setAmbrelTimeThreshold(0);
            host.sdk()->startScanningOnce(); // a new collection, from inside the end of this one
            host.releaseDelegate();
            host.attachDelegate();
        }
    });
    host.sdk()->startScanningOnce();
    platform.clock().advanceBy(22s);
    EXPECT_EQ(deliveries, 2);
}

TEST_F(Facade, WhatAHostThrowsLeavesThroughTheCallThatCausedItAndTheKitGoesOn) {
    host.setDeliveryHandler([](const JSONDictionary&) { throw std::runtime_error("host"); });
    host.sdk()->startScanning();
    EXPECT_THROW(platform.clock().advanceBy(11s), std::runtime_error) << "from a tick";
    EXPECT_THROW(host.sdk()->startScanning(), std::runtime_error) << "from a public call";
    host.setDeliveryHandler([this](const JSONDictionary& data) { delivered.push_back(data); });
    host.sdk()->startScanning();
    EXPECT_EQ(delivered.size(), 1U) << "the finished record is kept";
    platform.clock().advanceBy(30s);
    host.sdk()->startScanning();
    platform.clock().advanceBy(11s);
    EXPECT_EQ(delivered.size(), 2U);
}

TEST_F(Facade, TwoFacadesAskTheirOwnDelegateWhetherToScanAndTheLastOnesWhatToStart) {
    Host other(platform, std::nullopt); // the last one: it answers unknown
    host.sdk()->startScanning();
    EXPECT_EQ(calls.find(".create"), std::string::npos) << calls;
    EXPECT_NE(calls.find("timer.schedule"), std::string::npos) << calls;
    other.sdk()->startScanning();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(Facade, StoppingAFreshFacadeStopsEveryGrantedSource) {
    host.sdk()->stopScanning();
    EXPECT_EQ(calls,
              "bluetooth.create bluetooth.stopScan location.create location.stopUpdatingLocation ");
    calls.clear();
    host.sdk()->completeScanning();
    EXPECT_EQ(calls, "");
}

TEST_F(Facade, AHistoryLimitMayBeSetAtAnyTime) {
    EXPECT_EQ(host.sdk()->historyLimit(), std::nullopt);
    host.sdk()->setHistoryLimit(1);
    EXPECT_EQ(host.sdk()->historyLimit(), 1U);
}

} // namespace
} // namespace AmbrelKit::Simulated
