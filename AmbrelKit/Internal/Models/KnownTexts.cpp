#include "AmbrelKit/Internal/Models/KnownTexts.hpp"

#include <algorithm>

namespace AmbrelKit {

namespace {

bool areSpelledAlike(const std::map<Text, Text>& a, const std::map<Text, Text>& b) {
    const auto isSpelled = [](const auto& x, const auto& y) {
        return x.first.string() == y.first.string() && x.second.string() == y.second.string();
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSpelled);
}

} // namespace

Text KnownTexts::sharing(const Text& text) { return *texts_.insert(text).first; }

BluetoothPeripheral KnownTexts::sharing(const BluetoothPeripheral& peripheral) {
    return {peripheral.identifier, sharing(peripheral.name), peripheral.timestamp};
}

NearbyDevice KnownTexts::sharing(const NearbyDevice& device) {
    auto txtRecord = device.txtRecord;
    if (txtRecord) {
        const auto [known, isNew] = records_.try_emplace(device.protocolTypeWithName(), *txtRecord);
        if (areSpelledAlike(*known->second, **txtRecord)) {
            txtRecord = known->second;
        }
    }
    return {.name = sharing(device.name),
            .protocolType = sharing(device.protocolType),
            .addressIPv4 = sharing(device.addressIPv4),
            .txtRecord = std::move(txtRecord),
            .timestamp = device.timestamp};
}

WifiNetworkHost KnownTexts::sharing(const WifiNetworkHost& host) {
    return {.interface = sharing(host.interface),
            .ssid = sharing(host.ssid),
            .bssid = sharing(host.bssid)};
}

WifiNetwork KnownTexts::sharing(const WifiNetwork& network) {
    WifiNetwork shared;
    for (const WifiNetworkHost& host : network.connectedDevices) {
        shared.connectedDevices.push_back(sharing(host));
    }
    return shared;
}

} // namespace AmbrelKit
