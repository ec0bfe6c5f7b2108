#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Linux/Network/NetworkDetails.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/QuietHost.hpp"
#include "tests/support/StandIn.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <unistd.h>

namespace AmbrelKit::Linux {
namespace {

class Platform : public testing::Test, protected LoopDriver {};

TEST_F(Platform, AsksEveryDaemonAndTheKernel) {
    if (const auto refusal = isolate(); !refusal.empty()) {
        GTEST_SKIP() << refusal;
    }
    const PrivateBus bus;
    sd_event* const events = loop()->native();
    const StandIn daemons[] = {{events, "org.bluez", Manner::silent},
                               {events, "org.freedesktop.Avahi", Manner::silent},
                               {events, "org.freedesktop.GeoClue2", Manner::silent},
                               {events, "org.freedesktop.login1", Manner::silent}};
    const auto host = std::make_shared<QuietHost>();
    host->bluetooth = host->location = AmbrelPermissionStatus::granted;
    auto services = platformServices({.desktopId = "org.example.host"});
    services.bonjourServices = {"_ipp._tcp."};
    const auto kit = create(std::move(services));
    kit->setDelegate(host);
    kit->startScanning();
    EXPECT_TRUE(until([&] {
        return std::ranges::all_of(daemons, [](const StandIn& one) { return one.calls > 0; });
    }));
    const auto reports = sourceReports();
    const auto asked = [&reports](Source source) { // as by a tick
        ProcessServices::current().addressIPv4();
        ProcessServices::current().availableNetworks();
        const SourceCondition condition = reports->report(source).condition;
        return condition.means + condition.code;
    };
    EXPECT_EQ(asked(Source::address), "no-interface");
    EXPECT_TRUE(asked(Source::wifi) == "no-adapter" || asked(Source::wifi) == "left-out" ||
                access("/sys/class/ieee80211", F_OK) == 0);
    const std::string address = "ip address add 192.0.2.3/24 dev v0 && "
                                "ip route add default via 192.0.2.1";
    ASSERT_EQ(std::system(
                  ("ip link add v0 type veth peer v1 && ip link set v0 up && " + address).c_str()),
              0);
    EXPECT_EQ(ProcessServices::current().addressIPv4(), "192.0.2.3");
    EXPECT_EQ(interfaceWithAddress("192.0.2.3"), "v0");
    EXPECT_EQ(asked(Source::address), "v0");
    ASSERT_EQ(std::system("ip address del 192.0.2.3/24 dev v0"), 0);
    EXPECT_EQ(asked(Source::address), "no-interface");
    ASSERT_EQ(std::system(address.c_str()), 0);
    EXPECT_EQ(asked(Source::address), "v0");
    const SourceAccount account = reports->report(Source::address).collection;
    EXPECT_GE(account.reports, 3U);
    EXPECT_EQ(account.outcome, SourceOutcome::interrupted);
    EXPECT_EQ(account.absences.at(0).who, "v0");
    kit->stopScanning();
    EXPECT_EQ(asked(Source::address), "") << "left listening by a question of the host's";
}

/// Has the address be answered with a name.
std::shared_ptr<void> installed(const char* name) {
    auto services = ProcessServices::current();
    services.addressIPv4 = [name] { return name; };
    return services.install();
}

TEST_F(Platform, WhatAProcessServiceReplacedIsUsedAgainInWhateverOrderTheyGo) {
    const auto address = [] { return ProcessServices::current().addressIPv4().value_or("none"); };
    const auto base = installed("base");
    for (const bool inOrder : {true, false}) {
        auto first = installed("first");
        auto second = installed("second");
        (inOrder ? second : first).reset();
        EXPECT_EQ(address(), inOrder ? "first" : "second");
        (inOrder ? first : second).reset();
        EXPECT_EQ(address(), "base");
    }
}

TEST_F(Platform, AnAnswerOfTheHostsOwnIsListenedTo) {
    const auto reports = sourceReports();
    const auto collection = platformServices().timerFactory(1000, true, [](const Timer&) {});
    const auto own = installed("own");
    for (int i = 0; i < 2; ++i) {
        ProcessServices::current().addressIPv4();
    }
    EXPECT_EQ(reports->report(Source::address).condition.means, "the host");
    EXPECT_EQ(reports->report(Source::address).collection.reports, 2U);
}

TEST_F(Platform, AReplacementAheadOfThePlatformLeavesTheRestToThisMachine) {
    const auto early = ProcessServices::current().install();
    const auto collection = platformServices().timerFactory(1000, true, [](const Timer&) {});
    ProcessServices::current().addressIPv4();
    EXPECT_NE(sourceReports()->report(Source::address).condition.means, "the host");
}

TEST_F(Platform, ManyReplacementsOfAProcessServiceLeaveNothingBehind) {
    using Function = decltype(&NetworkEnvironment::_availableNetworks);
    installed("none");
    auto& inUse = NetworkEnvironment::shared().availableNetworks;
    const auto before = std::exchange(inUse, &NetworkEnvironment::_availableNetworks);
    for (int i = 0; i < 100; ++i) {
        const auto one = installed("one");
        EXPECT_EQ(inUse.target<Function>(), nullptr);
    }
    EXPECT_NE(inUse.target<Function>(), nullptr);
    inUse = before;
}

} // namespace
} // namespace AmbrelKit::Linux
