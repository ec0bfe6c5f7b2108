#ifndef AMBRELKIT_BENCH_COREWORK_HPP
#define AMBRELKIT_BENCH_COREWORK_HPP

// What the core is measured with: the work itself, and the same done by hand, its floor.

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/DataStore.hpp"
#include "AmbrelKit/Internal/Logic/PermissionsHelper.hpp"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace AmbrelKit::Bench {

using TimePoint = std::chrono::system_clock::time_point;

inline const TimePoint start{std::chrono::seconds(1'700'000'000)};

inline std::vector<BluetoothPeripheral> peripherals(std::size_t count) {
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

inline std::vector<NearbyDevice> services(std::size_t count) {
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

/// A sighting as a program without the kit would keep it.
struct PlainSighting {
    UUID identifier;
    std::string name;
    TimePoint timestamp;
};

inline std::vector<PlainSighting> plain(const std::vector<BluetoothPeripheral>& list) {
    std::vector<PlainSighting> sightings;
    sightings.reserve(list.size());
    for (const auto& each : list) {
        sightings.push_back({each.identifier, std::string(each.name->string()), each.timestamp});
    }
    return sightings;
}

/// Those of `list` in random order without end, each time at a later time and often by another
/// name than before.
template <class Sighting> class Sightings {
public:
    explicit Sightings(std::vector<Sighting> list) : list_(std::move(list)), known_(list_.size()) {
        for (std::size_t i = 0; i < known_; ++i) {
            Sighting renamed = list_[i];
            renamed.name = "Renamed peripheral " + std::to_string(i);
            list_.push_back(std::move(renamed));
        }
    }

    const Sighting& next() {
        Sighting& sighting = list_[random_() % list_.size()];
        sighting.timestamp = now_ += std::chrono::microseconds(1);
        return sighting;
    }

private:
    std::vector<Sighting> list_;
    std::size_t known_;
    TimePoint now_ = start;
    std::mt19937 random_{2};
};

/// Answers as a host does.
class Host final : public PermissionsHelperDelegate {
    using Status = AmbrelPermissionStatus;
    Status bluetoothPermissionStatus() override { return Status::granted; }
    Status bluetoothSettingStatus() override { return Status::granted; }
    Status networkPermissionStatus() override { return Status::granted; }
    Status networkSettingStatus() override { return Status::granted; }
    Status locationPermissionStatus() override { return Status::denied; }
    Status locationPrecisePermissionStatus() override { return Status::denied; }
    Status locationSettingStatus() override { return Status::unknown; }
};

/// A store whose clock stands still until it is set.
class ClockedStore {
public:
    ClockedStore() {
        Environment::shared().currentDate = [this] { return now; };
        PermissionsHelper::setPermissionsDelegate(host_);
    }
    ClockedStore(const ClockedStore&) = delete;
    ClockedStore& operator=(const ClockedStore&) = delete;
    ~ClockedStore() { Environment::shared().currentDate = std::chrono::system_clock::now; }

    void scan() { send(DataEvents::scan{ScanningMode::once}); }
    void see(const BluetoothPeripheral& peripheral) {
        send(DataEvents::didDiscoverBluetoothPeripheral{peripheral});
    }
    void find(const NearbyDevice& device) { send(DataEvents::didDiscoverNearbyDevice{device}); }
    void tick() {
        send(DataEvents::timerDidTick{{"192.168.1.23", WifiNetwork{{{"wlan0", "Birch", {}}}}}});
    }

    TimePoint now = start;

private:
    void send(const DataEvent& event) { store_->sendEvent(event); }

    std::shared_ptr<Host> host_ = std::make_shared<Host>();
    std::shared_ptr<DataStore> store_ = std::make_shared<DataStore>(
        State::initialState(), std::make_shared<DataReducer>(),
        DataEnvironment{[](ScanningMode) {}, [] {}, [](const JSONDictionary&) {}});
};

/// A collection that has heard so many peripherals, after so many earlier ones that have heard ten
/// each; `see()` is one more sighting.
class OpenCollection {
public:
    explicit OpenCollection(std::size_t held, std::size_t earlier = 0)
        : sightings_(peripherals(held)) {
        const auto few = peripherals(10);
        for (std::size_t i = 0; i <= earlier; ++i) {
            store_.now += std::chrono::seconds(60);
            store_.scan();
            store_.tick();
            for (const auto& each : i < earlier ? few : peripherals(held)) {
                store_.see(each);
            }
        }
    }

    void see() { store_.see(sightings_.next()); }

private:
    ClockedStore store_;
    Sightings<BluetoothPeripheral> sightings_;
};

/// The floor of it.
class OrderedMap {
public:
    explicit OrderedMap(std::size_t held) : sightings_(plain(peripherals(held))) {
        for (const auto& each : plain(peripherals(held))) {
            map_.insert_or_assign(each.identifier, each);
        }
    }

    void see() {
        const PlainSighting& sighting = sightings_.next();
        map_.insert_or_assign(sighting.identifier, sighting);
    }

private:
    std::map<UUID, PlainSighting> map_;
    Sightings<PlainSighting> sightings_;
};

inline AmbrelData fullRecord() {
    return AmbrelData::new_(UUID::random(), start)
        .copyWithAddressIPv4(Text("192.168.1.23"))
        .copyWithBluetoothScan(BluetoothScan(peripherals(400)))
        .copyWithNearbyDevices(NearbyDevices(services(100)));
}

/// The dictionary of that record, built by hand.
class ByHand {
public:
    [[nodiscard]] JSONDictionary dictionary() const {
        JSONDictionary dictionary;
        dictionary.emplace("timestamp", seconds(start));
        dictionary.emplace("ip", "192.168.1.23");
        dictionary.emplace("bleScan", scan());
        dictionary.emplace("nearbyDevices", devices());
        dictionary.emplace("wifiNetwork", JSONDictionary{{"connectedDevices", JSONValue::array()}});
        dictionary.emplace("ambrel_analytics", JSONDictionary{});
        return dictionary;
    }

private:
    static std::int64_t seconds(TimePoint time) {
        return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
    }

    [[nodiscard]] JSONValue scan() const {
        JSONValue scan = JSONValue::array();
        for (const auto& each : seen_) {
            JSONDictionary peripheral;
            peripheral.emplace("address", each.identifier.text());
            peripheral.emplace("name", each.name);
            peripheral.emplace("timestamp", seconds(each.timestamp));
            scan.push_back(std::move(peripheral));
        }
        return scan;
    }

    [[nodiscard]] JSONValue devices() const {
        JSONValue devices = JSONValue::array();
        for (const auto& each : found_) {
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
        return devices;
    }

    std::vector<PlainSighting> seen_ = plain(peripherals(400));
    std::vector<NearbyDevice> found_ = services(100);
};

} // namespace AmbrelKit::Bench

#endif
