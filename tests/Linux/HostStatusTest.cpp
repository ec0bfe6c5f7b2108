#include "AmbrelKit/Linux/HostStatus.hpp"
#include "AmbrelKit/Linux/Location/GeoClueVerdict.hpp"
#include "tests/support/FakeBlueZ.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>

namespace {

using namespace AmbrelKit;
using namespace AmbrelKit::Linux;

class HostStatusTest : public testing::Test, protected LoopDriver {
protected:
    /// Each answer as g(ranted), d(enied) or u(nknown): Bluetooth's setting and permission,
    /// location's setting and permission, the network's setting.
    [[nodiscard]] std::string answers() const {
        std::string text;
        for (const auto answer :
             {status->bluetoothSettingStatus(), status->bluetoothPermissionStatus(),
              status->locationSettingStatus(), status->locationPermissionStatus(),
              status->networkSettingStatus()}) {
            text += "ugd"[static_cast<int>(answer)];
        }
        return text;
    }

    struct Step {
        const char* what;
        std::function<void()> happens;
        std::string expected;
    };

    void follow(const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            changes = 0;
            step.happens();
            EXPECT_TRUE(until([&] { return answers() == step.expected && changes > 0; }))
                << step.what << ": " << answers();
        }
    }

    PrivateBus bus;
    FakeBlueZ fake{loop()->native()};
    int changes = 0;
    std::shared_ptr<HostStatus> status;
};

TEST_F(HostStatusTest, FollowsWhatTheSystemShows) {
    if (const auto refusal = isolate(); !refusal.empty()) {
        GTEST_SKIP() << refusal;
    }
    std::ofstream(bus.folder() / "geoclue.service")
        << "[D-BUS Service]\nName=org.freedesktop.GeoClue2\nExec=/bin/touch "
        << (bus.folder() / "started").native() << "\nUser=root\n";
    bus.stop();
    bus.start();
    status = HostStatus::start([this] { ++changes; });
    EXPECT_EQ(answers(), "uuuud") << "the kernel tells at once";
    const auto verdict = loop()->shared<GeoClueVerdict>();
    const auto run = [](const char* command) { EXPECT_EQ(std::system(command), 0); };
    follow({
        {"GeoClue can be started", [] {}, "uuggd"},
        {"BlueZ without adapter", [&] { fake.start(); }, "dgggd"},
        {"plugged in", [&] { fake.plug("hci0"); }, "ggggd"},
        {"switched off, or blocked", [&] { fake.power("hci0", false); }, "dgggd"},
        {"another is on", [&] { fake.plug("hci1"); }, "ggggd"},
        {"pulled out", [&] { fake.unplug("hci1"); }, "dgggd"},
        {"switched on", [&] { fake.power("hci0", true); }, "ggggd"},
        {"BlueZ gone", [&] { fake.stop(); }, "ugggd"},
        {"back without adapter", [&] { fake.start(); }, "dgggd"},
        {"gone again", [&] { fake.stop(); }, "ugggd"},
        {"back, and refuses",
         [&] {
             fake.failNext("GetManagedObjects", SD_BUS_ERROR_ACCESS_DENIED);
             fake.start();
         },
         "udggd"},
        {"GeoClue refuses", [&] { verdict->tell(true); }, "uddgd"},
        {"GeoClue serves", [&] { verdict->tell(false); }, "udggd"},
        {"a link up",
         [&] { run("ip link add v0 type veth peer v1 && ip link set v1 up && ip link set v0 up"); },
         "udggg"},
        {"unplugged at the other end", [&] { run("ip link set v1 down"); }, "udggd"},
        {"plugged again", [&] { run("ip link set v1 up"); }, "udggg"},
        {"removed", [&] { run("ip link del v0"); }, "udggd"},
    });
    EXPECT_FALSE(exists(bus.folder() / "started"));
}

TEST_F(HostStatusTest, AnotherProgramsScanAndALostBusAreNoNews) {
    fake.start();
    fake.plug("hci0");
    fake.failNext("GetManagedObjects", SD_BUS_ERROR_TIMEOUT);
    status = HostStatus::start([this] { ++changes; });
    ASSERT_TRUE(until([this] { return answers().starts_with("gg"); })) << "asked again";
    changes = 0;
    fake.add("hci0", {.address = "C0:00:00:00:00:01", .rssi = -50});
    for (int rssi = -60; rssi < 0; ++rssi) {
        fake.heard("hci0", "C0:00:00:00:00:01", rssi);
    }
    fake.plug("hci1", false); // no news either
    fake.power("hci0", false);
    ASSERT_TRUE(until([this] { return answers().starts_with("dg"); }));
    EXPECT_EQ(changes, 1);
    bus.stop();
    EXPECT_TRUE(until([this] { return answers().starts_with("ug"); })) << "the permission stays";
}

TEST_F(HostStatusTest, WithoutABusNothingWakesAndItMayBeDroppedInItsCallback) {
    bus.stop();
    status = HostStatus::start([this] { ++changes; });
    during(std::chrono::milliseconds(100));
    pollfd ready{loop()->fileDescriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&ready, 1, 1500), 0);
    EXPECT_TRUE(answers().starts_with("uuuu"));
    bus.start();
    fake.start();
    status = HostStatus::start([this] { status.reset(); });
    EXPECT_TRUE(until([this] { return !status; }));
}

TEST_F(HostStatusTest, ASignalAheadOfBlueZsAnswerIsNoAnswer) {
    fake.start();
    fake.plug("hci0");
    fake.hold("GetManagedObjects");
    status = HostStatus::start();
    ASSERT_TRUE(until([&] { return !fake.calls.empty(); }));
    fake.signal("PropertiesChanged", FakeBlueZ::path("hci0"),
                filling("sa{sv}as", "org.bluez.Adapter1", 1, "Discovering", "b", 1, 0));
    during(std::chrono::milliseconds(50));
    EXPECT_EQ(status->bluetoothSettingStatus(), AmbrelPermissionStatus::unknown);
    fake.release();
    EXPECT_TRUE(
        until([&] { return status->bluetoothSettingStatus() == AmbrelPermissionStatus::granted; }));
}

} // namespace
