#include "AmbrelKit/Simulated/Host.hpp"
#include "tests/support/Alike.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>

namespace AmbrelKit::Simulated {
namespace {

using namespace std::chrono_literals;

/// A host on a simulated platform that is granted every permission.
class Facade : public testing::Test {
protected:
    Facade() {
        answerPermissions(AmbrelPermissionStatus::granted);
        host.setDeliveryHandler([this](const JSONDictionary& data) { delivered.push_back(data); });
        platform.setSink([this](const Event& event) {
            if (event.object != "delegate") {
                calls.append(event.object).append(".").append(event.operation).append(" ");
            }
            if (at != nullptr) {
                at(event);
            }
        });
    }

    void answerPermissions(AmbrelPermissionStatus status) {
        for (const auto query : {StatusQuery::bluetoothPermission, StatusQuery::locationPermission,
                                 StatusQuery::networkPermission}) {
            host.setStatus(query, status);
        }
    }

    // What the host and the platform still write to when they go.
    std::vector<JSONDictionary> delivered;
    std::string calls;
    std::function<void(const Event&)> at; ///< besides

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
        EXPECT_FALSE(host.sdk()->setAmbrelTimeThreshold(bad, nullptr));
        AmbrelErrorObject object;
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
    answerPermissions(AmbrelPermissionStatus::denied);
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

TEST_F(Facade, ADelegateThatIsDetachedWhenAskedIsAskedNoMore) {
    for (const auto status : {AmbrelPermissionStatus::granted, AmbrelPermissionStatus::denied}) {
        for (int last = 1; last <= 10; ++last) {
            answerPermissions(status);
            host.create();
            int asked = 0;
            host.setQueryHandler([&](StatusQuery) {
                if (++asked == last) {
                    host.detachDelegate();
                }
            });
            host.sdk()->startScanning();
            EXPECT_EQ(asked, last);
        }
    }
}

TEST_F(Facade, TwoFacadesAskTheirOwnDelegateWhetherToScanAndTheLastOnesWhatToStart) {
    Host other(platform, std::nullopt); // the last one: it answers unknown
    host.sdk()->startScanning();
    EXPECT_EQ(calls.find(".create"), std::string::npos) << calls;
    EXPECT_NE(calls.find("timer.schedule"), std::string::npos) << calls;
    other.sdk()->startScanning();
    EXPECT_TRUE(delivered.empty());
}

TEST_F(Facade, EachPermissionStartsAndStopsItsOwnSource) {
    const std::tuple<StatusQuery, const char*, const char*> rows[] = {
        {StatusQuery::bluetoothPermission, "bluetooth.create ", "bluetooth.stopScan "},
        {StatusQuery::locationPermission, "location.create ", "location.stopUpdatingLocation "},
        {StatusQuery::networkPermission, "bonjour.create bonjour.searchForServicesOfType ", ""}};
    for (const auto& [query, source, stopped] : rows) {
        answerPermissions(AmbrelPermissionStatus::denied);
        host.setStatus(query, AmbrelPermissionStatus::granted);
        host.create();
        calls.clear();
        host.sdk()->startScanningOnce();
        EXPECT_EQ(calls, std::string("timer.schedule ") + source);
        calls.clear();
        host.sdk()->stopScanning();
        EXPECT_EQ(calls, std::string("timer.invalidate ") + stopped);
    }
}

const std::pair<const char*, void (AmbrelSDK::*)()> publicCalls[] = {
    {"startScanning", &AmbrelSDK::startScanning},
    {"startScanningOnce", &AmbrelSDK::startScanningOnce},
    {"completeScanning", &AmbrelSDK::completeScanning},
    {"stopScanning", &AmbrelSDK::stopScanning},
    {"automaticMode", &AmbrelSDK::automaticModeForNotificationAndBackgroundTask}};

/// Each public call on a facade in automatic mode, with every permission and with none.
TEST_F(Facade, ItLivesUntilTheCallReturnsWhicheverCallbackDropsIt) {
    const auto trace = [this](auto call, std::size_t dropAt) {
        host.create();
        host.sdk()->automaticModeForNotificationAndBackgroundTask();
        AmbrelSDK* const sdk = host.sdk().get();
        const std::weak_ptr<AmbrelSDK> facade = host.sdk();
        std::vector<std::string> events; // of the call, before the facade goes
        at = [&](const Event& event) {
            if (!facade.expired()) {
                events.emplace_back(event.operation);
                if (events.size() == dropAt + 1) {
                    host.release();
                    EXPECT_FALSE(facade.expired());
                }
            }
        };
        (sdk->*call)();
        at = nullptr;
        EXPECT_EQ(facade.expired(), dropAt < events.size());
        return events;
    };
    for (const auto status : {AmbrelPermissionStatus::granted, AmbrelPermissionStatus::denied}) {
        answerPermissions(status);
        for (const auto& [name, call] : publicCalls) {
            const auto undisturbed = trace(call, std::string::npos);
            ASSERT_FALSE(undisturbed.empty()) << name;
            for (std::size_t i = 0; i < undisturbed.size(); ++i) {
                SCOPED_TRACE(std::string(name) + ", dropped in callback " + std::to_string(i));
                EXPECT_TRUE(alike(trace(call, i), undisturbed));
            }
        }
    }
}

/// A start asks seven questions for its record, one whether it may, and three for the sources.
TEST_F(Facade, AStartThatThrowsHasNotHappened) {
    const auto count = [this](const std::string& call) {
        std::size_t found = 0;
        for (auto place = calls.find(call); place != std::string::npos; ++found) {
            place = calls.find(call, place + 1);
        }
        return found;
    };
    for (const auto start : {&AmbrelSDK::startScanning, &AmbrelSDK::startScanningOnce}) {
        for (const int automatic : {false, true}) {
            for (int thrower = 1; thrower <= 11; ++thrower) {
                SCOPED_TRACE(thrower);
                host.create();
                calls.clear();
                if (automatic != 0) {
                    host.sdk()->automaticModeForNotificationAndBackgroundTask();
                }
                host.setQueryHandler([&, asked = std::make_shared<int>(0)](StatusQuery) {
                    if (++*asked == thrower) {
                        throw std::runtime_error("asked");
                    }
                });
                EXPECT_THROW((host.sdk().get()->*start)(), std::runtime_error);
                host.setQueryHandler(nullptr);
                EXPECT_EQ(count("bluetooth.create"), count("bluetooth.stopScan"));
                EXPECT_EQ(count("location.create"), count("location.stopUpdatingLocation"));
                EXPECT_EQ(count("beginBackground"), count("endBackground") + automatic);
                EXPECT_EQ(count("addObserver"), count("removeObserver") + automatic);
                EXPECT_EQ(count("timer.schedule"), count("timer.invalidate"));

                delivered.clear();
                host.sdk()->startScanningOnce();
                platform.clock().advanceBy(11s);
                EXPECT_EQ(delivered.size(), 1U) << "a retry is ignored";
            }
        }
    }
}

TEST_F(Facade, AHostThatStopsTheStartThatItThenRefusesIsNotPutBackIntoAutomaticMode) {
    host.create();
    host.sdk()->automaticModeForNotificationAndBackgroundTask();
    host.setQueryHandler([&, asked = std::make_shared<int>(0)](StatusQuery) {
        if (++*asked == 9) { // the first for a source
            host.sdk()->stopScanning();
            throw std::runtime_error("asked");
        }
    });
    EXPECT_THROW(host.sdk()->startScanningOnce(), std::runtime_error);
    host.setQueryHandler(nullptr);
    calls.clear();
    platform.clock().advanceBy(20s);
    platform.notificationCenter().post(ApplicationDidBecomeActiveNotification);
    EXPECT_EQ(calls, "");
    host.sdk()->completeScanning();
    EXPECT_EQ(calls, "") << "it holds a task";
}

TEST_F(Facade, ASourceThatFailsHalfwayThroughItsStartIsStopped) {
    Host other(platform, {{"_ipp._tcp.", "_http._tcp."}});
    other.setStatus(StatusQuery::networkPermission, AmbrelPermissionStatus::granted);
    at = [browsers = 0](const Event& event) mutable {
        if (event.object == "bonjour" && event.operation == "create" && ++browsers == 2) {
            throw std::runtime_error("platform");
        }
    };
    EXPECT_THROW(other.sdk()->startScanning(), std::runtime_error);
    calls.clear();
    platform.bonjour().reportFound("_ipp._tcp.", "Printer");
    EXPECT_EQ(calls, "") << "the first browser still searches";
}

TEST_F(Facade, StoppingAFreshFacadeStopsEveryGrantedSource) {
    host.sdk()->stopScanning();
    EXPECT_EQ(calls,
              "bluetooth.create bluetooth.stopScan location.create location.stopUpdatingLocation ");
    calls.clear();
    host.sdk()->completeScanning();
    EXPECT_EQ(calls, "");
}

TEST_F(Facade, AHistoryLimitMayBeSetAtAnyTimeAlsoInAQuery) {
    EXPECT_EQ(host.sdk()->historyLimit(), std::nullopt);
    host.sdk()->setHistoryLimit(5);
    EXPECT_EQ(host.sdk()->historyLimit(), 5U);
    for (const StatusQuery asked :
         {StatusQuery::locationSetting, StatusQuery::bluetoothPermission}) {
        const auto limit = host.sdk()->historyLimit().value() - 1;
        host.setQueryHandler([&](StatusQuery query) {
            if (query == asked) {
                host.sdk()->setHistoryLimit(limit);
            }
        });
        host.sdk()->startScanningOnce();
        EXPECT_EQ(host.sdk()->historyLimit(), limit);
        host.setQueryHandler(nullptr);
        platform.clock().advanceBy(100s);
    }
}

TEST_F(Facade, ACallOnAnotherThreadIsToldInADebugBuild) {
#ifdef NDEBUG
    GTEST_SKIP() << "a release build does not look";
#else
    const auto elsewhere = [this](void (AmbrelSDK::*call)()) {
        std::thread([&] { (host.sdk().get()->*call)(); }).join();
    };
    for (const auto& [name, call] : publicCalls) {
        EXPECT_DEATH(elsewhere(call), "another thread") << name;
    }
    EXPECT_DEATH(std::thread([this] { Host other(platform, std::nullopt); }).join(),
                 "another thread");
    EXPECT_DEATH(std::thread([this] { host.release(); }).join(), "another thread");
    host.release();
    std::thread([this] { Host other(platform, std::nullopt); }).join(); // the only one
#endif
}

} // namespace
} // namespace AmbrelKit::Simulated
