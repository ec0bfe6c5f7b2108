#include "AmbrelKit/Simulated/Host.hpp"
#include "AmbrelKit/Simulated/Platform.hpp"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using Strings = std::vector<std::string>;

/// A host that permits everything, on a platform whose sources it follows.
struct FollowedSources : testing::Test {
    FollowedSources() {
        for (std::size_t query = 0; query < Simulated::statusQueryNames.size(); ++query) {
            host.setStatus(static_cast<Simulated::StatusQuery>(query),
                           AmbrelPermissionStatus::granted);
        }
    }

    [[nodiscard]] std::string state(Source source) const {
        return std::string(code(reports->report(source).condition.state));
    }
    [[nodiscard]] Strings states() const {
        Strings all;
        for (const SourceReport& report : reports->reports()) {
            all.emplace_back(code(report.condition.state));
        }
        return all;
    }

    Simulated::Platform platform;
    Simulated::Host host{platform, Strings{"_ipp._tcp"}};
    int changes = 0;
    std::shared_ptr<SourceReports> reports = platform.sourceReports([this] { ++changes; });
};

TEST_F(FollowedSources, fareAsTheSimulatedObjectsDo) {
    const Strings idle(6, "idle");
    EXPECT_EQ(states(), idle);
    host.sdk()->startScanning();
    EXPECT_EQ(states(),
              (Strings{"starting", "listening", "starting", "starting", "starting", "listening"}));
    for (const auto& [state, code] : std::vector<std::pair<BluetoothManagerState, const char*>>{
             {BluetoothManagerState::poweredOff, "off"},
             {BluetoothManagerState::unauthorized, "refused"},
             {BluetoothManagerState::resetting, "starting"},
             {BluetoothManagerState::unsupported, "unavailable"},
             {BluetoothManagerState::poweredOn, "listening"}}) {
        platform.bluetooth().reportState(state);
        EXPECT_EQ(this->state(Source::bluetooth), code);
    }
    for (const auto& [status, code] :
         std::vector<std::pair<LocationAuthorizationStatus, const char*>>{
             {LocationAuthorizationStatus::notDetermined, "starting"},
             {LocationAuthorizationStatus::denied, "refused"},
             {LocationAuthorizationStatus::restricted, "refused"},
             {LocationAuthorizationStatus::authorizedAlways, "listening"}}) {
        platform.location().reportAuthorization(status);
        EXPECT_EQ(state(Source::location), code);
    }
    platform.bluetooth().reportDiscovery({.identifier = UUID(), .name = "Lamp"});
    platform.location().reportUpdate({{}});
    platform.bonjour().reportFound("_ipp._tcp", "Printer");
    platform.bonjour().reportResolved("_ipp._tcp", "Printer", {});
    platform.network().setInterfaces({{"en0", "192.0.2.1"}});
    platform.clock().advanceBy(1s);
    EXPECT_EQ(state(Source::address), "listening");
    EXPECT_EQ(state(Source::wifi), "unavailable");
    platform.clock().advanceBy(10s);
    std::vector<std::pair<std::string, std::size_t>> accounts;
    for (const SourceReport& report : reports->reports()) {
        accounts.emplace_back(code(report.collection.outcome), report.collection.reports);
    }
    EXPECT_EQ(accounts, (decltype(accounts){{"listened", 1},
                                            {"listened", 2},
                                            {"listened", 1},
                                            {"listened", 11},
                                            {"failed", 0},
                                            {"listened", 0}}));
    host.release();
    EXPECT_EQ(states(), idle);
}

TEST_F(FollowedSources, areInTheConditionThatATestImposes) {
    host.sdk()->startScanning();
    const SourceCondition blocked{.state = SourceState::off, .code = "blocked", .reason = "rfkill"};
    using enum SourceState;
    for (const SourceState imposed : {listening, starting, unavailable, refused, leftOut, off}) {
        for (const Source source : allSources) {
            platform.sources().impose(source,
                                      imposed == off ? blocked : SourceCondition{.state = imposed});
        }
        const int before = changes;
        platform.clock().advanceBy(0s);
        EXPECT_EQ(changes, before + 1);
        EXPECT_EQ(states(), Strings(6, std::string(code(imposed))));
    }
    platform.bluetooth().reportState(BluetoothManagerState::poweredOn);
    platform.location().reportAuthorization(LocationAuthorizationStatus::authorizedAlways);
    platform.network().setInterfaces({{"en0", "192.0.2.1"}});
    platform.clock().advanceBy(2s);
    EXPECT_EQ(states(), Strings(6, "off"));
    for (const Source source : allSources) {
        platform.sources().impose(source, {});
    }
    EXPECT_EQ(states(),
              (Strings{"listening", "listening", "listening", "idle", "idle", "listening"}));
    platform.sources().impose(Source::address, {.state = SourceState::listening});
    platform.sources().impose(Source::services, blocked);
    platform.clock().advanceBy(1s);
    platform.sources().impose(Source::services, {});
    platform.clock().advanceBy(10s);
    EXPECT_EQ(state(Source::address), "listening"); // also when the collection is over
    EXPECT_EQ(shortfall(reports->report(Source::services).collection),
              "it was away from 0.0 s to 2.0 s, "
              "simulated network was away from 2.0 s to 3.0 s");
}

TEST(Shortfall, NoReasonThatADaemonGaveCommandsTheTerminal) {
    SourceAccount account;
    account.outcome = SourceOutcome::failed;
    account.failure.reason = "\x1b[2J\n";
    EXPECT_EQ(shortfall(account), R"(\u001b[2J\u000a)");
}

TEST_F(FollowedSources, areToldOfWhenTimeAdvancesAndOnceForAll) {
    host.sdk()->startScanning();
    platform.bluetooth().reportState(BluetoothManagerState::poweredOn);
    EXPECT_EQ(changes, 0);
    platform.clock().advanceBy(0s);
    EXPECT_EQ(changes, 1);
    platform.bluetooth().reportDiscovery({.identifier = UUID(), .name = "Lamp"});
    platform.clock().advanceBy(500ms);
    EXPECT_EQ(changes, 1); // a count is no change
    std::shared_ptr<SourceReports> other;
    Strings told;
    other = platform.sourceReports([&] {
        told.push_back(std::to_string(platform.clock().now() / 1ms));
        other.reset(); // inside its own call
    });
    platform.clock().advanceBy(3s);
    EXPECT_EQ(told, Strings{"1000"}); // when the tick found no address
    EXPECT_EQ(changes, 2);
}

/// The two kits of a test: the one that ends first ends nothing for the other.
TEST_F(FollowedSources, ofTwoKitsListenAsLongAsOneIsLeft) {
    host.sdk()->startScanning();
    Simulated::Host other(platform, Strings{"_ipp._tcp"});
    other.setStatus(Simulated::StatusQuery::networkPermission, AmbrelPermissionStatus::granted);
    other.sdk()->startScanning();
    host.release();
    EXPECT_EQ(state(Source::services), "listening");
    other.release();
    EXPECT_EQ(state(Source::services), "idle");
}

} // namespace
