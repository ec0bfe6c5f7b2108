#ifndef AMBRELKIT_INTERNAL_MODELS_AMBRELDATA_HPP
#define AMBRELKIT_INTERNAL_MODELS_AMBRELDATA_HPP

#include "AmbrelKit/Internal/Extensions/GroupedList.hpp"
#include "AmbrelKit/Internal/Models/AmbrelAnalytics.hpp"
#include "AmbrelKit/Internal/Models/Bluetooth.hpp"
#include "AmbrelKit/Internal/Models/KnownTexts.hpp"
#include "AmbrelKit/Internal/Models/Location.hpp"
#include "AmbrelKit/Internal/Models/NearbyDevice.hpp"
#include "AmbrelKit/Internal/Models/Network.hpp"

#include <memory>
#include <optional>
#include <string>

namespace AmbrelKit {

using BluetoothScan = GroupedList<BluetoothPeripheral, &BluetoothPeripheral::identifier>;
using NearbyDevices = GroupedList<NearbyDevice, &NearbyDevice::protocolTypeWithName, std::less<>>;

/// One collected-data record: what one scan saw. An immutable value; copies share what they hold.
class AmbrelData {
public:
    using TimePoint = std::chrono::system_clock::time_point;

    /// A fresh record: nothing seen, no network joined, and a permission snapshot taken now.
    static AmbrelData new_(const UUID& uuid, TimePoint createdAt);

    AmbrelData(const AmbrelData&) = default; // and no move: a record always has its fields
    AmbrelData& operator=(const AmbrelData&) = default;
    ~AmbrelData() = default;

    /// The canonical text of the record's identifier.
    [[nodiscard]] std::string id() const { return uuid().text(); }
    [[nodiscard]] const UUID& uuid() const { return fields_->rest->uuid; }
    /// When the record was opened.
    [[nodiscard]] TimePoint createdAt() const { return fields_->rest->createdAt; }
    [[nodiscard]] const std::optional<Text>& addressIPv4() const {
        return fields_->rest->addressIPv4;
    }
    [[nodiscard]] const std::optional<WifiNetwork>& networkInfo() const {
        return fields_->rest->networkInfo;
    }
    [[nodiscard]] const BluetoothScan& bluetoothScan() const { return fields_->bluetoothScan; }
    [[nodiscard]] const std::optional<Location>& location() const {
        return fields_->rest->location;
    }
    [[nodiscard]] const NearbyDevices& nearbyDevices() const { return fields_->nearbyDevices; }
    [[nodiscard]] const AmbrelAnalytics& ambrelAnalytics() const {
        return fields_->ambrelAnalytics;
    }

    // Each copy has one field replaced, and takes a new permission snapshot.
    [[nodiscard]] AmbrelData copyWithAddressIPv4(std::optional<Text> addressIPv4) const;
    [[nodiscard]] AmbrelData copyWithNetworkInfo(std::optional<WifiNetwork> networkInfo) const;
    [[nodiscard]] AmbrelData copyWithBluetoothScan(BluetoothScan bluetoothScan) const;
    [[nodiscard]] AmbrelData copyWithLocation(const Location& location) const;
    [[nodiscard]] AmbrelData copyWithNearbyDevices(NearbyDevices nearbyDevices) const;

    /// The same record in as little memory as it takes; what `known` knows is shared. No field and
    /// no snapshot is new.
    [[nodiscard]] AmbrelData compacted(KnownTexts& known) const;

    friend bool operator==(const AmbrelData& a, const AmbrelData& b) {
        return *a.fields_->rest == *b.fields_->rest && // also for copies: no NaN is equal to itself
               a.bluetoothScan() == b.bluetoothScan() && a.nearbyDevices() == b.nearbyDevices() &&
               a.ambrelAnalytics() == b.ambrelAnalytics();
    }

    /// The record's dictionary; the identifier is not part of it.
    [[nodiscard]] JSONValue encode(const JSONEncoder& encoder) const;

private:
    /// What no sighting replaces.
    struct Rest {
        UUID uuid;
        TimePoint createdAt;
        std::optional<Text> addressIPv4;
        std::optional<WifiNetwork> networkInfo;
        std::optional<Location> location;

        bool operator==(const Rest&) const = default;
    };

    struct Fields {
        std::shared_ptr<const Rest> rest;
        BluetoothScan bluetoothScan;
        NearbyDevices nearbyDevices;
        AmbrelAnalytics ambrelAnalytics;
    };

    explicit AmbrelData(Fields fields)
        : fields_(std::make_shared<const Fields>(std::move(fields))) {}
    template <class Value> [[nodiscard]] AmbrelData copy(Value Rest::*field, Value value) const;

    std::shared_ptr<const Fields> fields_;
};

} // namespace AmbrelKit

#endif
