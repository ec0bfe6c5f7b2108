// Work that costs the same number of instructions each time: `instructions` counts them.
//
//     Instructions WORK TIMES

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/DataStore.hpp"
#include "AmbrelKit/Internal/Logic/PermissionsHelper.hpp"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace AmbrelKit;

const std::chrono::system_clock::time_point start{std::chrono::seconds(1'700'000'000)};

std::vector<BluetoothPeripheral> peripherals(std::size_t count) {
    std::mt19937_64 random(1);
    std::vector<BluetoothPeripheral> list;
    for (std::size_t i = 0; i < count; ++i) {
        UUID::Bytes bytes{};
        for (std::size_t half = 0; half < bytes.size(); half += sizeof(std::uint64_t)) {
            const std::uint64_t word = random();
            std::memcpy(bytes.data() + half, &word, sizeof word);
        }
        list.push_back({UUID(bytes), "Peripheral number " + std::to_string(i), start});
    }
    return list;
}

std::vector<NearbyDevice> services(std::size_t count) {
    std::vector<NearbyDevice> list;
    for (std::size_t i = 0; i < count; ++i) {
        list.push_back({.name = "Service number " + std::to_string(i),
                        .protocolType = i % 2 == 0 ? "_ipp._tcp." : "_http._tcp.",
                        .addressIPv4 = "192.168.1.23",
                        .txtRecord = std::map<Text, Text>{{"txtvers", "1"}, {"note", "2nd floor"}},
                        .timestamp = start});
    }
    return list;
}

/// Answers as a host does.
class Host final : public PermissionsHelperDelegate {
    using Status = AmbrelPermissionStatus;
    Status bluetoothPermissionStatus() override { return Status::granted; }
    Status bluetoothSettingStatus() override { return Status::granted; }
    Status networkPermissionStatus() override { return Status::granted; }
    Status networkSettingStatus() override { return Status::granted; }
    Status locationPermissionStatus() override { return Status::granted; }
    Status locationPrecisePermissionStatus() override { return Status::granted; }
    Status locationSettingStatus() override { return Status::granted; }
};

/// A store with a collection open that holds so many peripherals.
class OpenCollection {
public:
    explicit OpenCollection(std::size_t count) {
        Environment::shared().currentDate = [] { return start; };
        PermissionsHelper::setPermissionsDelegate(host_);
        store_->sendEvent(DataEvents::scan{ScanningMode::once});
        for (const auto& peripheral : peripherals(count)) {
            events_.emplace_back(DataEvents::didDiscoverBluetoothPeripheral{peripheral});
        }
        for (const auto& event : events_) {
            store_->sendEvent(event);
        }
    }

    void see(std::size_t i) { store_->sendEvent(events_[i % events_.size()]); }

private:
    std::shared_ptr<Host> host_ = std::make_shared<Host>();
    std::vector<DataEvent> events_;
    std::shared_ptr<DataStore> store_ = std::make_shared<DataStore>(
        State::initialState(), std::make_shared<DataReducer>(),
        DataEnvironment{[](ScanningMode) {}, [] {}, [](const JSONDictionary&) {}});
};

void event(std::size_t held, std::size_t times) {
    OpenCollection open(held);
    std::mt19937 random(2);
    for (std::size_t i = 0; i < times; ++i) {
        open.see(random());
    }
}

/// The floor of an event.
void orderedMap(std::size_t held, std::size_t times) {
    struct Sighting {
        std::string name;
        std::chrono::system_clock::time_point time;
    };
    std::vector<std::pair<UUID, Sighting>> list;
    for (const auto& peripheral : peripherals(held)) {
        list.push_back({peripheral.identifier,
                        {std::string(peripheral.name->string()), peripheral.timestamp}});
    }
    std::map<UUID, Sighting> map(list.begin(), list.end());
    std::mt19937 random(2);
    for (std::size_t i = 0; i < times; ++i) {
        const auto& [identifier, sighting] = list[random() % list.size()];
        map.insert_or_assign(identifier, sighting);
    }
}

AmbrelData record() {
    return AmbrelData::new_(UUID::random(), start)
        .copyWithAddressIPv4(Text("192.168.1.23"))
        .copyWithBluetoothScan(BluetoothScan(peripherals(400)))
        .copyWithNearbyDevices(NearbyDevices(services(100)));
}

std::size_t total = 0; // what was made is used

void serialize(std::size_t times) {
    const AmbrelData data = record();
    for (std::size_t i = 0; i < times; ++i) {
        total += JSONEncoder::serialize(data)->size();
    }
}

std::int64_t seconds(std::chrono::system_clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

/// The floor of the serialising: the same dictionary, built by hand.
void byHand(std::size_t times) {
    const auto seen = peripherals(400);
    const auto found = services(100);
    for (std::size_t i = 0; i < times; ++i) {
        JSONValue scan = JSONValue::array();
        for (const auto& each : seen) {
            JSONDictionary peripheral;
            peripheral.emplace("address", each.identifier.text());
            peripheral.emplace("name", std::string(each.name->string()));
            peripheral.emplace("timestamp", seconds(each.timestamp));
            scan.push_back(std::move(peripheral));
        }
        JSONValue devices = JSONValue::array();
        for (const auto& each : found) {
            JSONDictionary txtRecord;
            for (const auto& [key, value] : **each.txtRecord) {
                txtRecord.emplace(key.string(), std::string(value.string()));
            }
            JSONDictionary device;
            device.emplace("address", std::string(each.addressIPv4->string()));
            device.emplace("name", std::string(each.name.string()));
            device.emplace("protocolType", std::string(each.protocolType.string()));
            device.emplace("timestamp", seconds(each.timestamp));
            device.emplace("txtRecord", std::move(txtRecord));
            devices.push_back(std::move(device));
        }
        JSONDictionary dictionary;
        dictionary.emplace("timestamp", seconds(start));
        dictionary.emplace("ip", "192.168.1.23");
        dictionary.emplace("bleScan", std::move(scan));
        dictionary.emplace("nearbyDevices", std::move(devices));
        dictionary.emplace("wifiNetwork", JSONDictionary{{"connectedDevices", JSONValue::array()}});
        dictionary.emplace("ambrel_analytics", JSONDictionary{});
        total += dictionary.size();
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, std::function<void(std::size_t)>> works{
        {"event-10", [](std::size_t times) { event(10, times); }},
        {"event-1000", [](std::size_t times) { event(1000, times); }},
        {"ordered-map-10", [](std::size_t times) { orderedMap(10, times); }},
        {"ordered-map-1000", [](std::size_t times) { orderedMap(1000, times); }},
        {"serialize", serialize},
        {"serialize-by-hand", byHand},
    };
    const auto work = works.find(argc == 3 ? argv[1] : "");
    if (work == works.end()) {
        std::cerr << "Instructions WORK TIMES\n";
        return 2;
    }
    work->second(std::strtoul(argv[2], nullptr, 10));
    return total == 1 ? 1 : 0;
}
