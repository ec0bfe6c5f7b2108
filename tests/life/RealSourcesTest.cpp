#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "tests/support/FakeBlueZ.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/QuietHost.hpp"
#include "tests/support/StandIn.hpp"

#include <gtest/gtest.h>

#include <random>

namespace AmbrelKit {
namespace {

using namespace std::chrono_literals;

/// Lives on the real sources, each with BlueZ beside it, that end anywhere: after a stop or without
/// one, before a daemon has answered or after it.
TEST(RealSources, LeaveNothingAtTheDaemonsWhereverALifeEnds) {
    const PrivateBus bus;
    const LoopDriver driver;
    FakeBlueZ bluez(driver.loop()->native());
    bluez.start();
    bluez.plug("hci0");
    const StandIn geoclue(driver.loop()->native(), "org.freedesktop.GeoClue2", Manner::refusing);
    const StandIn logind(driver.loop()->native(), "org.freedesktop.login1", Manner::refusing);
    const auto seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::size_t open = 0;
    for (int life = 0; life < 1000; ++life) {
        {
            auto services = Linux::platformServices({.desktopId = "org.example.host"});
            services.bonjourServices.emplace();
            const auto kit = Linux::create(std::move(services));
            const auto host = std::make_shared<QuietHost>();
            host->bluetooth = host->location = AmbrelPermissionStatus::granted;
            kit->setDelegate(host);
            if (life % 50 == 0) {
                bluez.power("hci0", true);
                kit->startScanning();
                ASSERT_TRUE(driver.until([&] { return !bluez.discoverers("hci0").empty(); }));
            }
            for (auto steps = random() % 6; steps > 0; --steps) {
                random() % 2 == 0 ? kit->startScanning() : kit->startScanningOnce();
                driver.during(std::chrono::milliseconds(random() % 6));
                if (random() % 8 == 0) {
                    bluez.power("hci0", random() % 2 == 0);
                }
                if (random() % 2 == 0) {
                    kit->stopScanning();
                }
            }
        }
        if (life % 50 == 0 || life == 999) { // what was on its way has come by then
            ASSERT_TRUE(driver.until([&] { return bluez.discoverers("hci0").empty(); }))
                << "life " << life;
            driver.during(20ms);
            EXPECT_TRUE(bluez.discoverers("hci0").empty());
            open = open == 0 ? openDescriptors() : open;
            EXPECT_TRUE(driver.until([&] { return openDescriptors() <= open; }));
        }
    }
}

} // namespace
} // namespace AmbrelKit
