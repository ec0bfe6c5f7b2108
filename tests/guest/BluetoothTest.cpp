// Against the real bluetoothd, over a controller that is made up: see run.

#include "AmbrelKit/Linux/Bluetooth/BluetoothManagerFactory.hpp"
#include "AmbrelKit/Linux/Bluetooth/PeripheralIdentifier.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "tests/guest/Radio.hpp"
#include "tests/guest/User.hpp"
#include "tests/support/Child.hpp"
#include "tests/support/LoopDriver.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/rfkill.h>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Names = std::map<UUID, std::optional<std::string>>;

constexpr int crowd = 400;
constexpr double kernelsDiscovery = 10.24; // seconds

double seconds(Clock::duration duration) { return std::chrono::duration<double>(duration).count(); }

UUID identifier(const Advertiser& advertiser) {
    return Linux::peripheralIdentifier({advertiser.address, advertiser.random});
}

/// What is to be found: each advertiser's identifier, and its name.
const Names& expected() {
    static const Names names = [] {
        Names all;
        for (int i = 0; i < crowd; ++i) {
            const auto advertiser = Advertiser::number(i);
            std::string name = advertiser.name;
            if (name.ends_with(noncharacter)) {
                name.replace(name.size() - 3, 3, "\uFFFD");
            }
            all[identifier(advertiser)] = name.empty() ? std::nullopt : std::optional(name);
        }
        return all;
    }();
    return names;
}

/// Scans as the kit does, and keeps what it hears.
class Receiver final : public BluetoothCentralManagerDelegate {
public:
    void centralManagerDidUpdateState(BluetoothCentralManager& manager) override {
        state = manager.state();
        if (state == BluetoothManagerState::poweredOn) {
            on = Clock::now();
            manager.scanForPeripheralsWithServices(std::nullopt, std::nullopt);
        }
    }
    void centralManagerDidDiscoverPeripheral(BluetoothCentralManager& /*manager*/,
                                             const Peripheral& peripheral,
                                             const JSONDictionary& /*data*/,
                                             int /*rssi*/) override {
        auto& name = heard[peripheral.identifier];
        name = peripheral.name ? peripheral.name : name;
        ++sightings;
    }

    BluetoothManagerState state = BluetoothManagerState::unknown;
    Clock::time_point on;
    Names heard;
    int sightings = 0;
};

class GuestTest : public ::testing::Test, protected LoopDriver {
protected:
    static void SetUpTestSuite() {
        radio = std::make_unique<Radio>(crowd);
        startDaemon();
    }
    static void TearDownTestSuite() {
        daemon.reset();
        radio.reset();
    }

    static void startDaemon() {
        daemon.emplace(std::vector<std::string>{"/usr/libexec/bluetooth/bluetoothd", "-n"},
                       "/tmp/bluetoothd.log");
    }

    void begin() {
        receiver = std::make_shared<Receiver>();
        manager = Linux::makeBluetoothManagerFactory(loop())();
        manager->setDelegate(receiver);
    }

    void expectTheCrowd(const Names& names = expected()) {
        EXPECT_TRUE(runUntil([&] { return receiver->heard.size() >= names.size(); }))
            << receiver->heard.size() << " heard";
        std::printf("    %zu devices %.2f s after the radio was on, %d reports\n",
                    receiver->heard.size(), seconds(Clock::now() - receiver->on),
                    receiver->sightings);
        during(1s);
        EXPECT_EQ(receiver->heard, names);
    }

    /// Expects reports again within half a second, from when the manager said that its radio is on;
    /// or from when nothing in the way is left, at most `delay` later.
    void expectScanningAgain(double delay = 0) {
        using enum BluetoothManagerState;
        ASSERT_TRUE(runUntil([&] { return receiver->state == poweredOn; }));
        const auto before = receiver->sightings;
        ASSERT_TRUE(runUntil([&] { return receiver->sightings > before; }));
        // The radio itself is silent for the first 0.2 s of a scan.
        const double silent = seconds(Clock::now() - receiver->on) - 0.2;
        std::printf("    reports again %.2f s after the radio was on\n", silent + 0.2);
        EXPECT_LT(silent, 0.5 + delay);
    }

    bool becomes(BluetoothManagerState state) {
        return runUntil([&] { return receiver->state == state; });
    }

    [[nodiscard]] SourceCondition condition() const {
        return source->report(Source::bluetooth).condition;
    }

    static inline std::unique_ptr<Radio> radio;
    static inline std::optional<Child> daemon;
    std::shared_ptr<Receiver> receiver;
    std::shared_ptr<BluetoothCentralManager> manager;
    std::shared_ptr<SourceReports> source = Linux::sourceReports();
};

/// Another program, which discovers for as long as this lives.
class OtherProgram {
public:
    explicit OtherProgram(const char* transport) {
        sd_bus_open_system(&bus_);
        EXPECT_TRUE(call("SetDiscoveryFilter", "a{sv}", 1, "Transport", "s", transport));
        EXPECT_TRUE(call("StartDiscovery", nullptr));
    }
    ~OtherProgram() { sd_bus_close_unref(bus_); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    /// Whether the device is in range.
    [[nodiscard]] bool hears(const Advertiser& device) const {
        std::string path = "/org/bluez/hci0/dev_" + device.addressText();
        std::ranges::replace(path, ':', '_');
        std::int16_t rssi = 0;
        return sd_bus_get_property_trivial(bus_, "org.bluez", path.c_str(), "org.bluez.Device1",
                                           "RSSI", nullptr, 'n', &rssi) >= 0;
    }

private:
    template <class... Arguments>
    bool call(const char* member, const char* types, Arguments... arguments) {
        return sd_bus_call_method(bus_, "org.bluez", "/org/bluez/hci0", "org.bluez.Adapter1",
                                  member, nullptr, nullptr, types, arguments...) >= 0;
    }

    sd_bus* bus_ = nullptr;
};

/// What bluetoothd says of the adapter.
bool adapterIs(const char* property) {
    sd_bus* bus = nullptr;
    int is = 0;
    sd_bus_open_system(&bus);
    sd_bus_get_property_trivial(bus, "org.bluez", "/org/bluez/hci0", "org.bluez.Adapter1", property,
                                nullptr, 'b', &is);
    sd_bus_close_unref(bus);
    return is != 0;
}

TEST_F(GuestTest, HearsExactlyTheCrowdTwiceWithinHalfAMinute) {
    begin();
    expectTheCrowd();
    manager->stopScan();
    const int sightings = receiver->sightings;
    EXPECT_TRUE(runUntil([] { return !adapterIs("Discovering"); }));
    EXPECT_EQ(receiver->sightings, sightings) << "after the stop";
    manager->setDelegate({});
    begin(); // BlueZ still knows the devices, and adds none of them anew
    expectTheCrowd();
    manager.reset();
    EXPECT_TRUE(runUntil([] { return !adapterIs("Discovering"); })) << "released while it scans";
}

TEST_F(GuestTest, SurvivesTheDaemon) {
    begin();
    ASSERT_TRUE(runUntil([&] { return receiver->sightings > 0; }));
    daemon->end();
    ASSERT_TRUE(becomes(BluetoothManagerState::resetting));
    startDaemon();
    expectScanningAgain();
}

TEST_F(GuestTest, SurvivesTheDaemonsCrash) {
    begin();
    ASSERT_TRUE(runUntil([&] { return receiver->sightings > 0; }));
    daemon->end(SIGKILL);
    ASSERT_TRUE(becomes(BluetoothManagerState::resetting));
    EXPECT_EQ(condition().code, "no-daemon");
    startDaemon();
    // The kernel goes on with the dead daemon's discovery, and refuses another one.
    expectScanningAgain(kernelsDiscovery);
    EXPECT_TRUE(runUntil([&] { return condition() == Linux::listening("BlueZ, hci0"); }));
}

TEST_F(GuestTest, SurvivesTheController) {
    begin();
    ASSERT_TRUE(runUntil([&] { return receiver->sightings > 0; }));
    radio->unplug();
    ASSERT_TRUE(becomes(BluetoothManagerState::unsupported));
    radio->plug();
    expectScanningAgain();
}

TEST_F(GuestTest, SurvivesTheRadioSwitch) {
    const int rfkill = open("/dev/rfkill", O_RDWR);
    ASSERT_GE(rfkill, 0);
    const auto block = [&](bool blocked) {
        rfkill_event event{};
        event.type = RFKILL_TYPE_BLUETOOTH;
        event.op = RFKILL_OP_CHANGE_ALL;
        event.soft = blocked ? 1 : 0;
        return write(rfkill, &event, sizeof event) > 0;
    };
    begin();
    ASSERT_TRUE(runUntil([&] { return receiver->sightings > 0; }));
    ASSERT_TRUE(block(true));
    ASSERT_TRUE(becomes(BluetoothManagerState::poweredOff));
    EXPECT_EQ(condition().reason, "hci0 is blocked by software");
    EXPECT_EQ(condition().remedy, "rfkill unblock bluetooth");
    manager->stopScan(); // of a radio that is off
    ASSERT_TRUE(block(false));
    expectScanningAgain();
    EXPECT_EQ(condition(), Linux::listening("BlueZ, hci0"));
    close(rfkill);
}

TEST_F(GuestTest, LeavesAnotherProgramsScanAndWhatAnInquiryHears) {
    begin();
    ASSERT_TRUE(runUntil([&] { return receiver->sightings > 0; }));
    const OtherProgram other("auto");
    ASSERT_TRUE(runUntil([&] { return other.hears(Advertiser::classic()); }));
    expectTheCrowd(); // the device of both kinds, too
    manager->stopScan();
    during(1s);
    EXPECT_TRUE(adapterIs("Discovering"));
}

TEST_F(GuestTest, IsNotToldThatWhatAnInquiryHeardFirstAdvertises) {
    daemon->end();
    startDaemon(); // it remembers nothing
    ASSERT_TRUE(runUntil([] { return adapterIs("Powered"); }));
    const OtherProgram other("bredr");
    ASSERT_TRUE(runUntil(
        [&] { return other.hears(Advertiser::classic()) && other.hears(Advertiser::dual()); }));
    begin();
    auto names = expected();
    names.erase(identifier(Advertiser::dual()));
    expectTheCrowd(names);
}

TEST_F(GuestTest, AnOrdinaryUserTakesASnapshot) {
    const auto output =
        outputAsUser({"./ambrel", "scan", "--only", "bluetooth", "--quiet", "--format", "json"});
    const auto data = JSONValue::parse(output, nullptr, false);
    ASSERT_TRUE(data.is_object()) << output;
    Names found;
    for (const auto& entry : data.at("bleScan")) {
        const auto name = entry.find("name");
        found[UUID::parse(entry.at("address").get<std::string>()).value()] =
            name == entry.end() ? std::nullopt : std::optional(name->get<std::string>());
    }
    EXPECT_EQ(found, expected());
}

TEST(Identifier, IsAnotherOneOnAnotherMachine) {
    const auto identifier = [] { return outputAsUser({"/proc/self/exe", "identifier"}); };
    const std::string here = identifier();
    EXPECT_EQ(here.size(), 36U) << here;
    EXPECT_EQ(here, identifier());
    std::ofstream("/etc/machine-id") << "fedcba9876543210fedcba9876543210\n";
    EXPECT_NE(here, identifier());
    std::ofstream("/etc/machine-id") << "0123456789abcdef0123456789abcdef\n";
    EXPECT_EQ(here, identifier());
}

} // namespace

int main(int count, char** arguments) {
    if (count > 1 && std::string(arguments[1]) == "identifier") {
        const auto advertiser = Advertiser::number(1);
        std::fputs(identifier(advertiser).text().c_str(), stdout);
        return 0;
    }
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    ::testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
