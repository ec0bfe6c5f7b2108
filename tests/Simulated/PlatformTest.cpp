#include "AmbrelKit/Simulated/Platform.hpp"
#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Internal/Models/CollectionThreshold.hpp"
#include "AmbrelKit/Simulated/Host.hpp"
#include "AmbrelKit/Simulated/Replay/Seconds.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using Strings = std::vector<std::string>;

TEST(SimulatedPlatform, leavesTheProcessAsItWas) {
    CollectionThreshold::value = 7;
    Environment::shared().currentDate = [] { return Environment::TimePoint(5s); };
    NetworkEnvironment::shared().addressIPv4 = [] { return std::optional<std::string>("mine"); };
    {
        Simulated::Platform outer({.start = 100s, .identifiers = {}});
        outer.clock().advanceTo(1s);
        EXPECT_EQ(Environment::shared().generateUUID().text().back(), '1');
        {
            const Simulated::Platform inner({.start = 200s, .identifiers = {}});
            EXPECT_EQ(Environment::shared().currentDate(), Environment::TimePoint(200s));
            EXPECT_EQ(Environment::shared().generateUUID().text().back(), '1');
            CollectionThreshold::value = 3;
        }
        EXPECT_EQ(CollectionThreshold::value, 30);
        EXPECT_EQ(Environment::shared().currentDate(), Environment::TimePoint(101s));
        EXPECT_EQ(Environment::shared().generateUUID().text().back(), '2');
        EXPECT_EQ(NetworkEnvironment::shared().addressIPv4(), std::nullopt);
    }
    EXPECT_EQ(CollectionThreshold::value, 7);
    EXPECT_EQ(Environment::shared().currentDate(), Environment::TimePoint(5s));
    EXPECT_EQ(NetworkEnvironment::shared().addressIPv4(), "mine");
}

TEST(SimulatedPlatform, mayGoBeforeWhatWasMadeOnIt) {
    std::shared_ptr<AmbrelSDK> sdk;
    std::shared_ptr<Timer> timer;
    int events = 0;
    {
        Simulated::Platform platform;
        platform.setSink([&](const Simulated::Event&) { ++events; });
        sdk = platform.createSDK(std::nullopt);
        timer = platform.clock().scheduledTimer(1, true, [](Timer&) {});
    }
    EXPECT_EQ(events, 1);
    sdk->automaticModeForNotificationAndBackgroundTask();
    timer->invalidate();
    EXPECT_EQ(events, 1);
}

struct Clock : testing::Test {
    void note(const std::string& what) {
        log.push_back(what + " " + std::to_string(platform.clock().now() / 1ms));
    }

    Simulated::Platform platform;
    Strings log;
};

TEST_F(Clock, firesInOrderOfDueTime) {
    auto& clock = platform.clock();
    const auto slow = clock.scheduledTimer(0.3, true, [&](Timer&) { note("slow"); });
    std::shared_ptr<Timer> made;
    const auto once = clock.scheduledTimer(0.1, false, [&](Timer&) {
        note("once");
        made = clock.scheduledTimer(0.2, true, [&](Timer& timer) {
            note("made");
            timer.invalidate();
        });
    });
    const auto third = clock.scheduledTimer(1.0 / 3, true, [&](Timer&) { note("third"); });
    clock.advanceTo(999ms);
    EXPECT_EQ(log, (Strings{"once 100", "slow 300", "made 300", "third 333", "slow 600",
                            "third 666", "slow 900"}));
    clock.advanceTo(0s); // back: nothing
    EXPECT_EQ(clock.now(), 999ms);
}

TEST_F(Clock, forgetsATimerThatIsDropped) {
    auto& clock = platform.clock();
    std::shared_ptr<Timer> timer = clock.scheduledTimer(1, true, [&](Timer&) {
        note("tick");
        timer.reset(); // the last reference, inside its own tick
    });
    clock.advanceTo(5s);
    EXPECT_EQ(log, Strings{"tick 1000"});
}

TEST_F(Clock, goesOnAfterATickThatThrew) {
    auto& clock = platform.clock();
    const auto timer = clock.scheduledTimer(1, true, [&](Timer&) {
        note("tick");
        throw std::runtime_error("from a tick");
    });
    EXPECT_THROW(clock.advanceTo(2s), std::runtime_error);
    EXPECT_THROW(clock.advanceTo(2s), std::runtime_error);
    clock.advanceTo(2s);
    EXPECT_EQ(log, (Strings{"tick 1000", "tick 2000"}));
    EXPECT_THROW(static_cast<void>(clock.scheduledTimer(0, true, {})), std::invalid_argument);
}

TEST(SimulatedNotificationCenter, blocksMayUnregisterAndRegister) {
    Simulated::Platform platform;
    auto& center = platform.notificationCenter();
    Strings log;
    std::shared_ptr<NotificationObserver> second;
    std::shared_ptr<NotificationObserver> third;
    auto first = center.addObserver("a", [&](const Notification&) {
        log.emplace_back("first");
        center.removeObserver(second);
        third = center.addObserver(std::nullopt,
                                   [&](const Notification& posted) { log.push_back(posted.name); });
    });
    second = center.addObserver("a", [&](const Notification&) { log.emplace_back("second"); });
    center.post("a");
    EXPECT_EQ(log, Strings{"first"});
    first.reset();
    center.post("a");
    center.post("b");
    EXPECT_EQ(log, (Strings{"first", "a", "b"}));
}

TEST(Seconds, areReadExactly) {
    struct Case {
        const char* text;
        std::optional<std::int64_t> nanoseconds;
    };
    for (const Case& c : std::vector<Case>{
             {"1700000000.1", 1'700'000'000'100'000'000},
             {"1700000000,1", 1'700'000'000'100'000'000}, // a locale's decimal point
             {"-20.125", -20'125'000'000},
             {"0.0000000005", 1},
             {"-0.0000000005", -1},
             {"0.00000000049999999999999999999999", 0},
             {"0.9999999995", 1'000'000'000},
             {"1e-9", 1},
             {"1E+3", 1'000'000'000'000},
             {"0.0000123e4", 123'000'000},
             {"123456789012345678901234567890e-24", 123'456'789'012'346},
             {"1e-400", 0},
             {"0e999999999999999999999", 0},
             {"1e999999999999999999999", std::nullopt},
             {"1e-999999999999999999999", 0},
             {"9223372036.854775807", 9'223'372'036'854'775'807},
             {"9223372036.8547758074", 9'223'372'036'854'775'807},
             {"9223372036.8547758075", std::nullopt},
             {"-9223372036.854775808", std::nullopt},
         }) {
        const auto time = Simulated::nanosecondsFromDecimal(c.text);
        EXPECT_EQ(time ? std::optional(time->count()) : std::nullopt, c.nanoseconds) << c.text;
    }
}

TEST(Seconds, areWrittenShortest) {
    for (const auto& [time, text] : std::vector<std::pair<nanoseconds, std::string>>{
             {0ns, "0"},
             {1ns, "0.000000001"},
             {250ms, "0.25"},
             {10s, "10"},
             {-500ms, "-0.5"},
             {-3s, "-3"},
             {nanoseconds::max(), "9223372036.854775807"}}) {
        std::string written;
        Simulated::appendSeconds(written, time);
        EXPECT_EQ(written, text);
    }
}

} // namespace
