#ifndef AMBREL_TESTS_LINUX_NEARBYDEVICES_AVAHIFIXTURE_HPP
#define AMBREL_TESTS_LINUX_NEARBYDEVICES_AVAHIFIXTURE_HPP

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/NearbyDevices/NetServiceBrowserFactory.hpp"
#include "tests/Linux/NearbyDevices/Collector.hpp"
#include "tests/Linux/NearbyDevices/FakeAvahi.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>

/// A network of the test's own with a daemon on its bus.
class AvahiDaemonTest : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string reason = isolate(); !reason.empty()) {
            GTEST_SKIP() << reason;
        }
        startDaemon();
    }

    void startDaemon(std::vector<FakeAvahi::Item> items = {}) {
        daemon = std::make_unique<FakeAvahi>(driver.loop());
        daemon->items = std::move(items);
        daemon->txt = {"second=2\xff", "first=1"};
        daemon->interfaceIPv4 = {{1, "127.0.0.1"}, {2, "10.0.0.1"}, {3, "10.0.0.3"}};
        ASSERT_TRUE(driver.until([&] { return daemon->named; }));
    }

    void search(const std::string& type = "_ipp._tcp.") {
        browser = collector->search(makeBrowser, type);
    }

    /// What the daemon has sent so far has been reported, and the other way round, when this
    /// returns: calls go through the bus to the daemon and back.
    void drain() {
        const auto connection = driver.loop()->shared<AmbrelKit::Linux::SystemBus>();
        for (int i = 0; i < 3; ++i) {
            bool replied = false;
            const auto call = connection->call({"org.freedesktop.Avahi", "/", "x.y", "Nothing"}, {},
                                               [&](sd_bus_message*) { replied = true; });
            ASSERT_TRUE(driver.until([&] { return replied; }));
        }
    }

    [[nodiscard]] auto callsOf(const std::string& member) const {
        return std::count(daemon->calls.begin(), daemon->calls.end(), member);
    }

    [[nodiscard]] bool resolvedCount(std::size_t count) {
        return driver.until([&] { return collector->resolved.size() >= count; });
    }

    /// The embedded stack has the mDNS port, 5353, open.
    static bool embeddedRuns() {
        std::ifstream sockets("/proc/self/net/udp");
        const std::string text(std::istreambuf_iterator<char>(sockets), {});
        return text.find(":14E9 ") != std::string::npos;
    }

    PrivateBus bus;
    LoopDriver driver;
    std::unique_ptr<FakeAvahi> daemon;
    AmbrelKit::NetServiceBrowserFactory makeBrowser =
        AmbrelKit::Linux::makeNetServiceBrowserFactory(driver.loop());
    std::shared_ptr<Collector> collector = std::make_shared<Collector>();
    std::shared_ptr<AmbrelKit::NetServiceBrowser> browser;
};

#endif
