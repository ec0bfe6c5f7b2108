// What a BlueZ, or whoever has its name on the bus, may say: to a scan, and to who follows
// adapters.

#include "AmbrelKit/Linux/Bluetooth/BluetoothManagerFactory.hpp"
#include "AmbrelKit/Linux/HostStatus.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "fuzz/support/FuzzedBus.hpp"
#include "fuzz/support/VirtualTime.hpp"

#include <nlohmann/json.hpp>

namespace {

using namespace AmbrelKit;

struct Receiver final : BluetoothCentralManagerDelegate {
    void centralManagerDidUpdateState(BluetoothCentralManager& manager) override {
        check(manager.state() <= BluetoothManagerState::poweredOn);
    }
    void centralManagerDidDiscoverPeripheral(BluetoothCentralManager& /*manager*/,
                                             const Peripheral& peripheral,
                                             const JSONDictionary& data, int rssi) override {
        check(!peripheral.name || isValidUTF8(*peripheral.name));
        check(rssi >= INT16_MIN && rssi <= INT16_MAX);
        writeJSON(data);
    }
};

const std::vector<std::string> words = {
    "/",
    "/org/bluez/hci0",
    "/org/bluez/hci1",
    "/org/bluez/hci0/dev_C0_00_00_00_00_01",
    "/org/bluez/hci0/dev_00_11_22_33_44_55",
    "org.bluez.Adapter1",
    "org.bluez.Device1",
    "org.freedesktop.DBus.ObjectManager",
    "org.freedesktop.DBus.Properties",
    "InterfacesAdded",
    "InterfacesRemoved",
    "PropertiesChanged",
    "a{oa{sa{sv}}}",
    "oa{sa{sv}}",
    "oas",
    "sa{sv}as",
    "as",
    "s",
    "n",
    "b",
    "u",
    "q",
    "ay",
    "a{qv}",
    "a{sv}",
    "a{yv}",
    "Powered",
    "Discovering",
    "Address",
    "AddressType",
    "Name",
    "RSSI",
    "UUIDs",
    "ManufacturerData",
    "ServiceData",
    "TxPower",
    "Appearance",
    "AdvertisingFlags",
    "AdvertisingData",
    "Class",
    "public",
    "random",
    "C0:00:00:00:00:01",
    "00:11:22:33:44:55",
    "0000180f-0000-1000-8000-00805f9b34fb",
    "org.bluez.Error.InProgress",
    "org.bluez.Error.NotReady",
    "org.bluez.Error.NotAuthorized",
    "org.freedesktop.DBus.Error.AccessDenied",
    "org.freedesktop.DBus.Error.NoReply",
    "\uFFFE",
};

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto& bus = *new FuzzedBus(words);
    Bytes input(data, size);
    const VirtualTime time;
    bus.begin();
    {
        const auto sources = Linux::sourceReports();
        std::shared_ptr<Linux::HostStatus> status;
        std::shared_ptr<BluetoothCentralManager> manager;
        const auto receiver = std::make_shared<Receiver>();
        if (input.byte() % 4 == 0) {
            status = Linux::HostStatus::start();
        } else {
            manager = Linux::makeBluetoothManagerFactory(Linux::EventLoop::current())();
            manager->setDelegate(receiver);
            manager->scanForPeripheralsWithServices(
                {}, JSONDictionary{{advertisementDataOption, true}});
        }
        bus.play(input);
        writeJSON(dictionary(*sources));
    }
    bus.end();
    return 0;
}
