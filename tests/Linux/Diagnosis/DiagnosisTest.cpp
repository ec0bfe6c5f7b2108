#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"
#include "tests/support/FakeBlueZ.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/StandIn.hpp"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace AmbrelKit::Linux;
using ::testing::HasSubstr;

class DiagnosisTest : public ::testing::Test, protected LoopDriver {
protected:
    /// What is found of the source: "ok" or "no", the finding, and the remedy.
    std::string found(const std::string& source,
                      const LocationOptions& location = {.source = LocationSourceKind::none}) {
        std::vector<SourceDiagnosis> all;
        const auto diagnosis =
            Diagnosis::start(location, [&](const auto& found) { all = found; }, {source});
        EXPECT_TRUE(until([&] { return !all.empty(); }));
        EXPECT_EQ(all.size(), 1U);
        EXPECT_EQ(all.front().source, source);
        EXPECT_TRUE(all.front().usable || !all.front().remedy.empty()) << source;
        return (all.front().usable ? "ok " : "no ") + all.front().finding + ": " +
               all.front().remedy;
    }

    StandIn daemon(const char* name, Manner manner) { return {loop()->native(), name, manner}; }

    PrivateBus bus;
};

TEST_F(DiagnosisTest, KeepsItsOrderAndNamesWhatItDoesNotKnow) {
    std::vector<SourceDiagnosis> all;
    const auto take = [&](const auto& found) { all = found; };
    const auto diagnosis = Diagnosis::start({}, take, {"wifi", "address", "wifi"});
    EXPECT_TRUE(until([&] { return !all.empty(); }));
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all.front().source, "address");
    EXPECT_THROW(static_cast<void>(Diagnosis::start({}, take, {"radio"})), std::invalid_argument);
}

TEST_F(DiagnosisTest, WithoutABus) {
    const auto expectFound = [this](const std::string& text) {
        EXPECT_THAT(found("bluetooth"), HasSubstr(text));
        EXPECT_THAT(found("lifecycle"), HasSubstr(text));
        EXPECT_THAT(found("services"), ::testing::Not(HasSubstr("avahi-daemon (")));
    };
    bus.freeze();
    expectFound("no the system bus has not answered: ");
    bus.stop();
    expectFound("no the system bus does not run: start the bus (systemctl start dbus)");
}

TEST_F(DiagnosisTest, OfABusThatClosesWhatItAccepted) {
    bus.stop();
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (bus.folder() / "socket").native().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    const auto closing = loop()->watch(listener, EPOLLIN, [listener](std::uint32_t) {
        close(accept(listener, nullptr, nullptr));
    });
    EXPECT_THAT(found("lifecycle"), HasSubstr("closes this program's connection"));
    close(listener);
}

TEST_F(DiagnosisTest, OfBluetooth) {
    EXPECT_THAT(found("bluetooth"), HasSubstr("no BlueZ is not installed: install BlueZ"));
    std::ofstream(bus.folder() / "org.bluez.service")
        << "[D-BUS Service]\nName=org.bluez\nExec=/bin/false\n";
    bus.stop();
    bus.start();
    EXPECT_THAT(found("bluetooth"), HasSubstr("no bluetoothd is not running: systemctl enable"));

    FakeBlueZ fake(loop()->native());
    fake.start();
    if (!std::filesystem::exists("/sys/class/bluetooth/hci0")) {
        EXPECT_THAT(found("bluetooth"), HasSubstr("no there is no Bluetooth adapter"));
    }
    fake.plug("hci0", false);
    EXPECT_THAT(found("bluetooth"), HasSubstr("no hci0 is "));
    fake.plug("hci1");
    fake.failNext("GetManagedObjects", SD_BUS_ERROR_TIMEOUT);
    EXPECT_EQ(found("bluetooth"), "ok BlueZ, hci1: ") << "asked again";
    fake.failNext("GetManagedObjects", SD_BUS_ERROR_ACCESS_DENIED);
    EXPECT_THAT(found("bluetooth"), HasSubstr("no this user may not use BlueZ"));
    fake.failNext("StartDiscovery", SD_BUS_ERROR_ACCESS_DENIED);
    EXPECT_THAT(found("bluetooth"), HasSubstr("no this user may not use BlueZ")) << "to scan";
    fake.hold("GetManagedObjects");
    EXPECT_THAT(found("bluetooth"), HasSubstr("has not answered: systemctl restart bluetooth"));
}

struct Row {
    const char* source;
    const char* name;
    Manner manner;
    const char* found;
};

TEST_F(DiagnosisTest, OfADaemonsManner) {
    const Row rows[] = {
        {"lifecycle", "org.freedesktop.login1", Manner::answering,
         "ok logind; this user has no session here"},
        {"lifecycle", "org.freedesktop.login1", Manner::refusing, "no logind refuses"},
        {"lifecycle", "org.freedesktop.login1", Manner::silent, "systemctl restart systemd-logind"},
        {"lifecycle", "org.example", Manner::answering, "no there is no logind"},
        {"services", "org.freedesktop.Avahi", Manner::refusing, "ok embedded mDNS"},
        {"services", "org.freedesktop.Avahi", Manner::silent, "systemctl restart avahi-daemon"},
    };
    for (const Row& row : rows) {
        const auto other = daemon(row.name, row.manner);
        EXPECT_THAT(found(row.source), HasSubstr(row.found));
    }
}

TEST_F(DiagnosisTest, OfALocationThatCannotBeHad) {
    const LocationOptions geoClue{.source = LocationSourceKind::geoClue, .desktopId = "org.host"};
    const LocationOptions gpsd{.source = LocationSourceKind::gpsd, .gpsdPort = 1};
    EXPECT_EQ(found("location"), "ok none, as chosen: ");
    EXPECT_THAT(found("location", geoClue),
                HasSubstr("no GeoClue is not installed: install GeoClue"));
    EXPECT_THAT(found("location", gpsd),
                HasSubstr("no nothing answers as gpsd at 127.0.0.1 port 1"));
    const auto refusing = daemon("org.freedesktop.GeoClue2", Manner::refusing);
    EXPECT_THAT(found("location", geoClue),
                HasSubstr("GeoClue refuses the location: no: allow org.host in"));
}

} // namespace
