#ifndef AMBRELKIT_DIFFERENCE_RECORDS_HPP
#define AMBRELKIT_DIFFERENCE_RECORDS_HPP

#include "AmbrelKit/Difference/Difference.hpp"
#include "AmbrelKit/Internal/Models/DataEvent.hpp"
#include "AmbrelKit/Internal/Models/Effect.hpp"
#include "AmbrelKit/Internal/Models/State.hpp"

namespace AmbrelKit {

// What `difference` compares of what is inside the kit. Texts by their spelling.

inline void describe(Description& into, const Text& text) { into.value(text.string()); }

template <class Value> void describe(Description& into, const Shared<Value>& shared) {
    into.value(*shared);
}

template <class Element, auto keyPath, class Order>
void describe(Description& into, const GroupedList<Element, keyPath, Order>& list) {
    into.value(list.elements());
}

inline void describe(Description& into, const BluetoothPeripheral& peripheral) {
    into.key("identifier", peripheral.identifier)
        .field("name", peripheral.name)
        .field("timestamp", peripheral.timestamp);
}

inline void describe(Description& into, const NearbyDevice& device) {
    into.key("protocolType", device.protocolType)
        .key("name", device.name)
        .field("addressIPv4", device.addressIPv4)
        .field("txtRecord", device.txtRecord)
        .field("timestamp", device.timestamp);
}

inline void describe(Description& into, const Location& location) {
    into.field("latitude", location.latitude)
        .field("longitude", location.longitude)
        .field("timestamp", location.timestamp);
}

inline void describe(Description& into, const WifiNetworkHost& host) {
    into.key("interface", host.interface).field("ssid", host.ssid).field("bssid", host.bssid);
}

inline void describe(Description& into, const WifiNetwork& network) {
    into.field("connectedDevices", network.connectedDevices);
}

inline void describe(Description& into, const Network& network) {
    into.field("addressIPv4", network.addressIPv4).field("info", network.info);
}

inline void describe(Description& into, const AmbrelAnalytics& analytics) {
    into.field("bluetoothPermission", analytics.bluetoothPermission)
        .field("bluetoothSetting", analytics.bluetoothSetting)
        .field("networkPermission", analytics.networkPermission)
        .field("networkSetting", analytics.networkSetting)
        .field("locationPermission", analytics.locationPermission)
        .field("locationPrecisePermission", analytics.locationPrecisePermission)
        .field("locationSetting", analytics.locationSetting);
}

inline void describe(Description& into, const AmbrelData& data) {
    into.key("uuid", data.uuid())
        .field("createdAt", data.createdAt())
        .field("addressIPv4", data.addressIPv4())
        .field("networkInfo", data.networkInfo())
        .field("bluetoothScan", data.bluetoothScan())
        .field("location", data.location())
        .field("nearbyDevices", data.nearbyDevices())
        .field("ambrelAnalytics", data.ambrelAnalytics());
}

inline void describe(Description& into, const CollectedData& data) {
    into.field("records", data.records()).field("limit", data.limit());
}

inline void describe(Description& into, const State& state) {
    into.field("collectedData", state.collectedData)
        .field("isTimeoutReached", state.isTimeoutReached)
        .field("finishedCollectedData", state.finishedCollectedData);
}

inline void describe(Description& into, ScanningMode mode) {
    into.word(mode == ScanningMode::once ? "once" : "automatic");
}

namespace DataEvents {

inline void describe(Description& into, const scan& event) { into.field("mode", event.mode); }
inline void describe(Description& into, const timerDidTick& event) {
    into.field("network", event.network);
}
inline void describe(Description& into, const didDiscoverBluetoothPeripheral& event) {
    into.field("peripheral", event.peripheral);
}
inline void describe(Description& into, const didDiscoverNearbyDevice& event) {
    into.field("device", event.device);
}
inline void describe(Description& into, const didUpdateLocation& event) {
    into.field("location", event.location);
}

} // namespace DataEvents

namespace Effects {

inline void describe(Description& into, const scanStarted& effect) {
    into.field("mode", effect.mode);
}
inline void describe(Description& into, const scanFinished& effect) {
    into.field("data", effect.data);
}
inline void describe(Description& /*into*/, const none& /*effect*/) {}

} // namespace Effects

} // namespace AmbrelKit

#endif
