#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"
#include "tests/Linux/Bluetooth/BluetoothFixture.hpp"

#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace AmbrelKit;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(BluetoothTest, AWrongValueCostsThatValue) {
    const struct {
        const char* what;
        FakeBlueZ::Fill changes;
        std::vector<std::string> reports;
    } rows[] = {
        {"RSSI", filling("a{sv}as", 1, "RSSI", "s", "loud", 0), {}},
        {"name before", filling("a{sv}as", 2, "Name", "u", 7U, "RSSI", "n", -1, 0), {"Phone -1"}},
        {"name after", filling("a{sv}as", 2, "RSSI", "n", -2, "Name", "as", 0, 0), {"Phone -2"}},
        {"address",
         filling("a{sv}as", 2, "Address", "s", "C0:0", "RSSI", "n", -3, 0),
         {"Phone -3"}},
        {"type", filling("a{sv}as", 2, "AddressType", "b", 1, "RSSI", "n", -4, 0), {"Phone -4"}},
        {"services", filling("a{sv}as", 2, "UUIDs", "ay", 1, 0, "RSSI", "n", -5, 0), {"Phone -5"}},
        {"bytes that are a text",
         filling("a{sv}as", 2, "ManufacturerData", "a{qv}", 1, 76, "s", "x", "RSSI", "n", -6, 0),
         {"Phone -6"}},
        {"bytes of a service, which are right",
         filling("a{sv}as", 2, "ServiceData", "a{sv}", 1, "180f", "ay", 2, 1, 2, "RSSI", "n", -7,
                 0),
         {"Phone -7"}},
        {"bytes of an advertisement, which are right",
         filling("a{sv}as", 2, "AdvertisingData", "a{yv}", 1, 9, "ay", 2, 1, 2, "RSSI", "n", -7, 0),
         {"Phone -7"}},
        {"a nest",
         filling("a{sv}as", 2, "Sets", "a{sv}", 1, "a", "v", "v", "(iay)", 1, 1, 1, "RSSI", "n", -8,
                 0),
         {"Phone -8"}},
        {"no properties", filling("s", "nothing"), {}},
        {"properties of one type", filling("a{sn}as", 1, "RSSI", -9, 0), {}},
        {"nothing at all", filling(""), {}},
    };
    beginScan();
    fake.add("hci0", {.address = phone, .name = "Phone", .rssi = -50});
    reports();
    for (const auto& row : rows) {
        fake.changed("hci0", phone, row.changes);
        EXPECT_EQ(reports(), row.reports) << row.what;
    }
    EXPECT_EQ(receiver->identifiers.size(), 1U);
}

TEST_F(BluetoothTest, ANoncharacterInANameHidesNothing) {
    fake.start();
    fake.plug("hci0", false);
    fake.add("hci0", {.address = phone, .name = "\uFFFE"});
    fake.plug("hci1");
    fake.add("hci1", {.address = phone, .name = "\uFDD0 \uFDEF"});
    fake.add("hci1",
             {.address = lamp, .name = "\uFDCF \uFDF0 \U0001FFFD \U00090000"}); // none of them
    begin();
    ASSERT_TRUE(scanning("hci1"));
    fake.heard("hci1", phone, -1);
    fake.heard("hci1", lamp, -2);
    fake.add("hci1", {.address = phone, .name = "\U0001FFFE \U0010FFFF", .rssi = -3});
    fake.named("hci1", lamp, "a\uFFFF");
    EXPECT_THAT(reports(), ElementsAre("\uFFFD \uFFFD -1", "\uFDCF \uFDF0 \U0001FFFD \U00090000 -2",
                                       "\U0001FFFD \U0010FFFD -3", "a\uFFFD -2"));
}

TEST_F(BluetoothTest, EveryReaderOfPropertiesGetsPastANoncharacter) {
    fake.start();
    fake.plug("hci0");
    fake.add("hci0", {.address = phone});
    std::vector<std::string> names;
    const auto connection = loop()->shared<Linux::SystemBus>();
    const auto heard = connection->match(
        "member='PropertiesChanged',path_namespace='/org/bluez'", [&](sd_bus_message* signal) {
            Linux::readProperties(signal, [&](std::string_view name, std::string_view /*type*/) {
                names.emplace_back(name);
                return false;
            });
        });
    drain();
    fake.named("hci0", phone, "\uFFFE");
    EXPECT_TRUE(until([&] { return !names.empty() && names.back() == "Alias"; }));
}

TEST_F(BluetoothTest, GarbledObjectsLeaveTheRest) {
    const std::string lampPath = FakeBlueZ::path("hci0", lamp);
    const char* path = lampPath.c_str();
    const char* device = "org.bluez.Device1";
    const FakeBlueZ::Fill contents[] = {
        filling("s", "no path"),
        filling("oa{sv}", path, 0),
        filling("oa{sa{sv}}", path, 1, device, 1, "RSSI", "n", -1),
        filling("oa{sa{sv}}", path, 1, device, 3, "RSSI", "n", -1, "Address", "u", 1U,
                "AddressType", "s", "random"),
        filling("oa{sa{sv}}", "/org/bluez/hci7", 1, "org.bluez.Adapter1", 1, "Powered", "s", "yes"),
        filling("oas", "/org/bluez/hci0/none", 1, device),
        filling("oas", "/org/bluez/hci8", 1, "org.bluez.Adapter1"),
        filling("os", "/org/bluez/hci0", "org.bluez.Adapter1"),
        filling("a{sa{sv}}", 1, "org.bluez.Adapter1", 1, "Powered", "b", 1),
    };
    beginScan();
    for (const auto& fill : contents) {
        for (const char* member :
             {"InterfacesAdded", "InterfacesRemoved", "PropertiesChanged", "X"}) {
            fake.signal(member, "/", fill);
        }
    }
    EXPECT_THAT(reports(), IsEmpty());
    fake.signal("InterfacesAdded", "/",
                filling("oa{sa{sv}}", path, 2, "org.bluez.Odd1", 1, "x", "u", 1U, device, 3,
                        "Address", "s", lamp.c_str(), "Name", "u", 1U, "RSSI", "n", -2));
    EXPECT_THAT(reports(), ElementsAre("- -2"));
    EXPECT_THAT(receiver->states, ElementsAre(5));
    fake.power("hci0", false);
    ASSERT_TRUE(until([&] { return receiver->states.back() == 4; }));
    fake.power("hci0", true);
    EXPECT_TRUE(scanning("hci0")) << "and not with what has no path";
}

/// A signal that comes over a connection as these bytes.
std::shared_ptr<sd_bus_message> received(std::string bytes) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const Descriptor peer(ends[1]);
    sd_bus* bus = nullptr;
    sd_bus_new(&bus);
    sd_bus_set_fd(bus, ends[0], ends[0]);
    sd_bus_set_anonymous(bus, 1);
    sd_bus_negotiate_fds(bus, 0);
    sd_bus_start(bus);
    bytes.insert(0, "OK 0123456789abcdef0123456789abcdef\r\n");
    EXPECT_EQ(write(peer.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    sd_bus_message* message = nullptr;
    for (int i = 0; i < 100 && message == nullptr; ++i) {
        sd_bus_process(bus, &message);
    }
    const std::shared_ptr<sd_bus> keep(bus, sd_bus_unref);
    return {message, [keep](sd_bus_message* gone) { sd_bus_message_unref(gone); }};
}

TEST(BusReadingTest, AnEmptyTextDoesNotTellTheOrderOfBytes) {
    using namespace std::string_literals;
    const auto message =
        received("B\4\1\1\0\0\0\x1C\0\0\0\1\0\0\0\x3C\1\1o\0\0\0\0\1/\0\0\0\0\0\0\0"
                 "\2\1s\0\0\0\0\3a.b\0\0\0\0\0\3\1s\0\0\0\0\1M\0\0\0\0\0\0\0\x08\1g\0\6sa{sv}\0"
                 "\0\0\0\0"
                 "\0\0\0\0\0\0\0\0\0\0\0\x0C\0\0\0\0\0\0\0\3\xEF\xBF\xBE\0\1y\0\7"s); // {U+FFFE: 7}
    ASSERT_NE(message, nullptr);
    ASSERT_STREQ(sd_bus_message_get_signature(message.get(), 1), "sa{sv}");
    EXPECT_FALSE(Linux::replaceNoncharacters(message.get()));
}

} // namespace
