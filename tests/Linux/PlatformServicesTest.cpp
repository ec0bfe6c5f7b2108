#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "AmbrelKit/Linux/Network/NetworkDetails.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/QuietHost.hpp"
#include "tests/support/StandIn.hpp"

#include <gtest/gtest.h>

#include <algorithm>

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
    ASSERT_EQ(std::system("ip link add v0 type veth peer v1 && ip link set v0 up && "
                          "ip address add 192.0.2.3/24 dev v0 && "
                          "ip route add default via 192.0.2.1"),
              0);
    EXPECT_EQ(ProcessServices::current().addressIPv4(), "192.0.2.3");
    EXPECT_EQ(interfaceWithAddress("192.0.2.3"), "v0");
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

TEST_F(Platform, ManyReplacementsOfAProcessServiceLeaveNothingBehind) {
    using Function = decltype(&NetworkEnvironment::_availableNetworks);
    for (int i = 0; i < 100; ++i) {
        const auto one = installed("one");
        EXPECT_EQ(NetworkEnvironment::shared().availableNetworks.target<Function>(), nullptr);
    }
    EXPECT_NE(NetworkEnvironment::shared().availableNetworks.target<Function>(), nullptr);
}

} // namespace
} // namespace AmbrelKit::Linux
