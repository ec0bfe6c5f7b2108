#include "tests/Linux/Bluetooth/BluetoothFixture.hpp"

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "tests/support/Child.hpp"

#include <fstream>
#include <iterator>

namespace {

using namespace AmbrelKit;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* heartRate = "0000180d-0000-1000-8000-00805f9b34fb";

struct Event {
    const char* what;
    std::function<void()> happens;
};

TEST_F(BluetoothTest, HasOneDiscoveryOfItsOwn) {
    beginScan();
    manager->scanForPeripheralsWithServices(std::nullopt, std::nullopt);
    sd_bus_call_method_async(other(), nullptr, "org.bluez", "/org/bluez/hci0", "org.bluez.Adapter1",
                             "StartDiscovery", nullptr, nullptr, nullptr);
    drain();
    manager->stopScan();
    manager->stopScan();
    drain();
    EXPECT_THAT(fake.calls,
                ElementsAre("GetManagedObjects", "SetDiscoveryFilter/hci0", "StartDiscovery/hci0",
                            "StartDiscovery/hci0", "StopDiscovery/hci0"));
    EXPECT_THAT(fake.filter,
                ElementsAre("Discoverable=0", "DuplicateData=0", "Transport=le", "UUIDs=none"));
    EXPECT_EQ(fake.discoverers("hci0").size(), 1U) << "the other program's goes on";
}

TEST_F(BluetoothTest, ReportsWhatIsHeardInThisScan) {
    fake.start();
    fake.plug("hci0");
    fake.plug("hci1");
    fake.add("hci0", {.address = phone, .name = "Phone"});
    fake.add("hci0", {.address = lamp, .name = "Lamp", .rssi = -50});
    fake.add("hci1", {.address = lamp, .name = "Lamp"});
    begin();
    ASSERT_TRUE(scanning());
    EXPECT_THAT(reports(), IsEmpty()) << "remembered";
    fake.heard("hci0", phone, -70);
    fake.heard("hci0", phone, 127);
    fake.add("hci0", {.address = "C0:00:00:00:00:03", .rssi = -80});
    fake.named("hci0", "C0:00:00:00:00:03", "Late");
    fake.heard("hci1", lamp, -40); // by an adapter that does not scan here
    fake.changed("hci0", phone, filling("a{sv}as", 0, 1, "RSSI"));
    fake.named("hci0", phone, "Out of range");
    fake.remove("hci0", phone);
    fake.add("hci0", {.address = phone, .name = "Remembered anew"});
    EXPECT_THAT(reports(), ElementsAre("Phone -70", "Phone 127", "- -80", "Late -80"));
    EXPECT_EQ(receiver->identifiers.size(), 2U);
    manager->stopScan();
    fake.heard("hci0", lamp, -60);
    EXPECT_THAT(reports(), IsEmpty()) << "after the stop";
}

TEST_F(BluetoothTest, WhatAnInquiryHearsIsNotReported) {
    const auto flags = filling("a{sv}as", 1, "AdvertisingFlags", "ay", 1, 6, 0);
    const auto inquired = filling("a{sv}as", 2, "Class", "u", 0x240404U, "RSSI", "n", -5, 0);
    const struct {
        const char* what;
        FakeBlueZ::Device device;
        FakeBlueZ::Fill then;
        std::vector<std::string> reports;
    } rows[] = {
        {"of Low Energy alone, without flags", {.rssi = -1, .random = false}, {}, {"- -1", "- -9"}},
        {"classic", {.rssi = -1, .random = false, .classOfDevice = true}, {}, {}},
        {"of both, advertising first",
         {.rssi = -1, .random = false},
         inquired,
         {"- -1", "- -5", "- -9"}},
        {"with a resolved address", {.rssi = -1, .classOfDevice = true}, {}, {"- -1", "- -9"}},
        {"remembered, and advertising", {.random = false, .classOfDevice = true}, {}, {"- -9"}},
        // From here on BlueZ shows flags.
        {"of both", {.rssi = -1, .random = false, .classOfDevice = true}, flags, {"- -1", "- -9"}},
        {"of both, with flags at once",
         {.rssi = -1, .random = false, .flags = true},
         inquired,
         {"- -1", "- -5", "- -9"}},
        {"remembered, and inquired", {.random = false, .classOfDevice = true}, {}, {}},
    };
    fake.start();
    fake.plug("hci0");
    fake.add("hci0", {.address = lamp, .rssi = -1, .random = false, .classOfDevice = true});
    begin();
    ASSERT_TRUE(scanning());
    fake.heard("hci0", lamp, -2);
    EXPECT_THAT(reports(), IsEmpty()) << "classic, and heard before the scan already";
    for (auto row : rows) {
        row.device.address = phone;
        fake.add("hci0", row.device);
        if (row.then) {
            fake.changed("hci0", phone, row.then);
        }
        fake.heard("hci0", phone, -9);
        EXPECT_EQ(reports(), row.reports) << row.what;
        fake.remove("hci0", phone);
    }
}

TEST_F(BluetoothTest, FiltersByServiceOnItsOwnSide) {
    receiver->services = {*UUID::parse(heartRate)};
    beginScan();
    fake.add("hci0", {.address = phone, .name = "Strap", .rssi = -50, .service = heartRate});
    fake.add("hci0", {.address = lamp, .rssi = -50, .service = "not a service"});
    EXPECT_THAT(reports(), ElementsAre("Strap -50"));
}

TEST_F(BluetoothTest, TellsWhatIsAdvertisedToWhoAsks) {
    const char* battery = "0000180f-0000-1000-8000-00805f9b34fb";
    fake.start();
    fake.plug("hci0");
    fake.add("hci0", {.address = phone, .service = battery});
    for (const bool asks : {true, false}) {
        receiver->options = {{advertisementDataOption, asks}, {"unknown", 1}};
        begin();
        drain(); // of the scan before
        ASSERT_TRUE(scanning());
        drain();
        fake.changed("hci0", phone,
                     filling("a{sv}as", 4, "ManufacturerData", "a{qv}", 3, 76, "ay", 2, 1, 0xAB,
                             0xFFFE, "s", "x", 3, "ay", 0, "ServiceData", "a{sv}", 2, battery, "ay",
                             1, 7, "180F", "ay", 1, 8, "TxPower", "n", -4, "Appearance", "q", 64,
                             0));
        fake.changed("hci0", phone, filling("a{sv}as", 1, "TxPower", "s", "much", 0));
        fake.heard("hci0", phone, -60);
        EXPECT_EQ(reports().size(), 1U);
        EXPECT_EQ(JSONValue(receiver->advertisementData).dump(),
                  asks ? R"({"appearance":64,"manufacturerData":{"0003":"","004c":"01ab"},)"
                         R"("serviceData":{"0000180F-0000-1000-8000-00805F9B34FB":"07"},)"
                         R"("services":["0000180F-0000-1000-8000-00805F9B34FB"],"txPower":-4})"
                       : "{}");
    }
}

#ifdef AMBREL_TOOL
TEST_F(BluetoothTest, TheDetailsOfAScanTellWhatTheRecordLeavesOut) {
    const std::string file = bus.folder() / "details";
    fake.start();
    fake.plug("hci0");
    loop()->dispatch(); // what the fake has left to do: until then nothing wakes the loop
    Child tool({AMBREL_TOOL, "scan", "--only", "bluetooth", "--details", file});
    ASSERT_TRUE(scanning());
    fake.add("hci0", {.address = phone,
                      .name = "\u202EPhone",
                      .rssi = -50,
                      .service = "0000180f-0000-1000-8000-00805f9b34fb"});
    ASSERT_TRUE(runUntil([&] { return tool.ended(); }));
    std::ifstream lines(file);
    EXPECT_THAT(
        std::string(std::istreambuf_iterator<char>(lines), {}),
        AllOf(HasSubstr(R"("state":"powered-on"})"),
              HasSubstr(R"("advertisement":{"services":["0000180F-0000-1000-8000-00805F9B34FB"]},)"
                        R"("name":"\u202ePhone","rssi":-50})")));
}
#endif

TEST_F(BluetoothTest, ScansAgainWithinHalfASecond) {
    const auto cycle = [&] { fake.power("hci0", false), fake.power("hci0", true); };
    const auto restart = [&] { fake.stop(), fake.start(), fake.plug("hci0"); };
    const Event events[] = {
        {"daemon restarted",
         [&] { fake.stop(), drain(), fake.start(), drain(), fake.plug("hci0"); }},
        {"daemon restarted at once", restart},
        {"off and on", [&] { fake.power("hci0", false), drain(), fake.power("hci0", true); }},
        {"off and on at once", cycle},
        {"out and in", [&] { fake.unplug("hci0"), drain(), fake.plug("hci0"); }},
        {"refused",
         [&] { fake.failNext("StartDiscovery", "org.bluez.Error.InProgress"), cycle(); }},
        {"not ready",
         [&] { fake.failNext("SetDiscoveryFilter", "org.bluez.Error.NotReady"), cycle(); }},
        {"objects late",
         [&] { fake.failNext("GetManagedObjects", SD_BUS_ERROR_TIMEOUT), restart(); }},
    };
    beginScan();
    for (const auto& event : events) {
        event.happens();
        EXPECT_TRUE(scanning("hci0", 500)) << event.what;
        drain();
        fake.add("hci0", {.address = phone, .rssi = -50});
        EXPECT_THAT(reports(), ElementsAre("- -50")) << event.what;
    }
    fake.plug("hci1");
    fake.unplug("hci0");
    EXPECT_TRUE(scanning("hci1", 500)) << "the next adapter";
}

TEST_F(BluetoothTest, StoppingWhatIsGoneIsDone) {
    for (const auto& lose :
         {std::function([&] { fake.stop(); }), std::function([&] { fake.unplug("hci0"); })}) {
        receiver->scans = true;
        beginScan();
        receiver->scans = false;
        lose();
        manager->stopScan();
        drain();
        fake.stop(), fake.start(), fake.plug("hci0");
        drain();
        EXPECT_THAT(fake.discoverers("hci0"), IsEmpty()) << "no longer wanted";
        fake.stop();
    }
}

TEST_F(BluetoothTest, LateStartsAreTakenBack) {
    const auto stop = [&] { manager->stopScan(); };
    const auto scan = [&] { manager->scanForPeripheralsWithServices(std::nullopt, std::nullopt); };
    const std::pair<Event, bool> rows[] = {
        {{"stopped", stop}, false},
        {{"stopped, delegate taken away", [&] { stop(), manager->setDelegate({}); }}, false},
        {{"released", [&] { manager.reset(); }}, false},
        {{"stopped and started", [&] { stop(), drain(), scan(); }}, true},
        {{"followed by another manager", [&] { stop(), manager->setDelegate({}), begin(); }}, true},
    };
    const auto kept = loop()->shared<Linux::SystemBus>(); // as by another source of the kit
    for (const auto& [event, scans] : rows) {
        fake.start();
        fake.plug("hci0");
        fake.hold("StartDiscovery");
        fake.calls.clear();
        begin();
        ASSERT_TRUE(until([&] { return fake.calls.size() == 3; }));
        event.happens();
        drain();
        fake.release();
        drain();
        EXPECT_TRUE(until([&, scans = scans] { return fake.discoverers("hci0").empty() != scans; }))
            << event.what;
        fake.stop();
    }
}

TEST_F(BluetoothTest, AStartThatOutlastsTheBusTimeoutIsTakenBack) {
    setenv("SYSTEMD_BUS_TIMEOUT", "0.2s", 1);
    const auto kept = loop()->shared<Linux::SystemBus>();
    fake.start();
    fake.plug("hci0");
    fake.hold("StartDiscovery");
    begin();
    ASSERT_TRUE(until([&] { return fake.calls.size() == 3; }));
    unsetenv("SYSTEMD_BUS_TIMEOUT");
    manager.reset();
    during(std::chrono::milliseconds(400));
    fake.release();
    EXPECT_TRUE(until([&] { return fake.calls.back() == "StopDiscovery/hci0"; }));
}

TEST_F(BluetoothTest, ManagersOfALoopShareTheDiscovery) {
    beginScan();
    const auto second = Linux::makeBluetoothManagerFactory(loop())();
    const auto also = std::make_shared<Receiver>();
    second->setDelegate(also);
    drain();
    EXPECT_THAT(also->states, ElementsAre(5));
    manager->stopScan();
    drain();
    fake.add("hci0", {.address = phone, .rssi = -50});
    EXPECT_THAT(reports(), IsEmpty());
    EXPECT_THAT(also->sightings, ElementsAre("- -50"));
}

TEST_F(BluetoothTest, IgnoresOtherSenders) {
    beginScan();
    fake.add("hci0", {.address = phone, .name = "Phone", .rssi = -50});
    const std::string self = *fake.discoverers("hci0").begin();
    for (const char* to : {static_cast<const char*>(nullptr), self.c_str()}) {
        fake.signal("PropertiesChanged", FakeBlueZ::path("hci0", phone),
                    filling("sa{sv}as", "org.bluez.Device1", 1, "RSSI", "n", -1, 0), other(), to);
    }
    EXPECT_THAT(reports(), ElementsAre("Phone -50"));
}

TEST_F(BluetoothTest, LosesNothingOfAFlood) {
    beginScan();
    fake.add("hci0", {.address = phone, .rssi = -50});
    for (int i = 0; i < 3000; ++i) {
        fake.heard("hci0", phone, -40 - i % 50);
    }
    EXPECT_TRUE(until([&] { return receiver->sightings.size() == 3001; }));
}

TEST_F(BluetoothTest, ADelegateMayThrowAndLetGo) {
    beginScan();
    receiver->then = [] { throw std::runtime_error("from the host"); };
    fake.add("hci0", {.address = phone, .rssi = -50});
    EXPECT_THROW(until([] { return false; }), std::runtime_error);
    receiver->then = [&] { manager.reset(); };
    fake.heard("hci0", phone, -51);
    fake.heard("hci0", phone, -52);
    EXPECT_THAT(reports(), ElementsAre("- -50", "- -51"));
    EXPECT_THAT(fake.discoverers("hci0"), IsEmpty()) << "releasing the manager ends its scan";
}

} // namespace
