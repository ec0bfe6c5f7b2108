#include "tools/ambrel/Collecting/DetailedReports.hpp"

#include "AmbrelKit/Linux/Network/NetworkDetails.hpp"
#include "AmbrelKit/Platform/Hexadecimal.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <cstddef>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

const char* name(BluetoothManagerState state) {
    switch (state) {
    case BluetoothManagerState::resetting:
        return "resetting";
    case BluetoothManagerState::unsupported:
        return "unsupported";
    case BluetoothManagerState::unauthorized:
        return "unauthorized";
    case BluetoothManagerState::poweredOff:
        return "powered-off";
    case BluetoothManagerState::poweredOn:
        return "powered-on";
    case BluetoothManagerState::unknown:
        break;
    }
    return "unknown";
}

const char* name(LocationAuthorizationStatus status) {
    switch (status) {
    case LocationAuthorizationStatus::restricted:
        return "restricted";
    case LocationAuthorizationStatus::denied:
        return "denied";
    case LocationAuthorizationStatus::authorizedAlways:
        return "authorized-always";
    case LocationAuthorizationStatus::authorizedWhenInUse:
        return "authorized-when-in-use";
    case LocationAuthorizationStatus::notDetermined:
        break;
    }
    return "not-determined";
}

template <class Value>
void put(JSONDictionary& line, const char* key, const std::optional<Value>& value) {
    if (value) {
        line[key] = *value;
    }
}

/// The address in a socket address record, as text; nothing where it is of another kind.
std::optional<std::string> addressText(const std::string& record) {
    constexpr std::size_t ipv4At = 4;
    constexpr std::size_t ipv6At = 8;
    const int family = record.size() > 1 ? static_cast<unsigned char>(record[1]) : AF_UNSPEC;
    const bool ipv4 = family == AF_INET && record.size() >= ipv4At + sizeof(in_addr);
    const bool ipv6 = family == AF_INET6 && record.size() >= ipv6At + sizeof(in6_addr);
    std::array<char, INET6_ADDRSTRLEN> text{};
    if ((!ipv4 && !ipv6) || inet_ntop(family, record.data() + (ipv4 ? ipv4At : ipv6At), text.data(),
                                      text.size()) == nullptr) {
        return std::nullopt;
    }
    return text.data();
}

JSONDictionary lineOf(const NetService& service) {
    JSONDictionary line{{"protocolType", service.type()}, {"name", service.name()}};
    put(line, "interface", service.interface());
    return line;
}

JSONDictionary lineOf(const LocationFix& fix) {
    JSONDictionary line{{"lat", fix.coordinate.latitude},
                        {"lon", fix.coordinate.longitude},
                        {"timestamp", secondsSince1970(fix.timestamp)}};
    put(line, "horizontalAccuracy", fix.horizontalAccuracy);
    put(line, "altitude", fix.altitude);
    put(line, "verticalAccuracy", fix.verticalAccuracy);
    if (!fix.determinedBy.empty()) {
        line["determinedBy"] = fix.determinedBy;
    }
    return line;
}

JSONValue listOf(const std::vector<Linux::JoinedNetwork>& joined) {
    auto list = JSONValue::array();
    for (const Linux::JoinedNetwork& network : joined) {
        JSONDictionary entry{{"interface", network.interface}};
        put(entry, "name", network.ssid);
        put(entry, "bssid", network.bssid);
        list.push_back(std::move(entry));
    }
    return list;
}

} // namespace

double secondsSince1970(std::chrono::system_clock::time_point time) {
    constexpr double microseconds = 1e6;
    const auto since = std::chrono::floor<std::chrono::microseconds>(time.time_since_epoch());
    return static_cast<double>(since.count()) / microseconds;
}

void DetailedReports::bluetoothDidUpdateState(BluetoothManagerState state) {
    told(Source::bluetooth, "state", {{"state", name(state)}});
}

void DetailedReports::bluetoothDidDiscover(const Peripheral& peripheral,
                                           const JSONDictionary& advertisementData, int rssi) {
    JSONDictionary line{{"address", peripheral.identifier.text()}};
    put(line, "name", peripheral.name);
    if (rssi != unknownSignalStrength) {
        line["rssi"] = rssi;
    }
    line["advertisement"] = advertisementData;
    told(Source::bluetooth, "peripheral", line);
}

void DetailedReports::bonjourDidFind(const NetService& service) {
    told(Source::services, "found", lineOf(service));
}

void DetailedReports::bonjourDidResolve(const NetService& service) {
    JSONDictionary line = lineOf(service);
    put(line, "hostName", service.hostName());
    put(line, "port", service.port());
    auto& addresses = line["addresses"] = JSONValue::array();
    for (const std::string& record : service.addresses().value_or(std::vector<std::string>())) {
        if (const auto address = addressText(record)) {
            addresses.push_back(*address);
        }
    }
    if (const auto txt = service.TXTRecordData()) {
        auto& record = line["txtRecord"] = JSONValue::object();
        for (const auto& [key, value] : NetService::dictionaryFromTXTRecordData(*txt)) {
            record[key] = repairedUTF8(value);
        }
        line["txtRecordData"] = hexadecimal(*txt);
    }
    told(Source::services, "resolved", line);
}

void DetailedReports::locationDidChangeAuthorization(LocationAuthorizationStatus status) {
    told(Source::location, "authorization", {{"status", name(status)}});
}

void DetailedReports::locationDidUpdate(const std::vector<LocationFix>& fixes) {
    for (const LocationFix& fix : fixes) {
        told(Source::location, "fix", lineOf(fix));
    }
}

void DetailedReports::locationDidFail(const std::string& error) {
    told(Source::location, "failure", {{"reason", error}});
}

void DetailedReports::timerDidSchedule() {
    address_.reset();
    joined_.reset();
}

void DetailedReports::networkDidAnswer(const std::optional<std::string>& addressIPv4,
                                       const std::vector<Linux::JoinedNetwork>& joined) {
    const JSONValue address = addressIPv4 ? JSONValue(*addressIPv4) : JSONValue();
    if (address_ != address) {
        address_ = address;
        JSONDictionary line;
        put(line, "ip", addressIPv4);
        put(line, "interface", Linux::interfaceWithAddress(addressIPv4.value_or("")));
        told(Source::address, "address", line);
    }
    JSONValue networks = listOf(joined);
    if (joined_ != networks) {
        joined_ = networks;
        for (JSONValue& network : networks) {
            if (const auto frequency = Linux::joinedFrequency(network.at("interface"))) {
                network["frequency"] = *frequency;
            }
        }
        told(Source::wifi, "networks", {{"connectedDevices", std::move(networks)}});
    }
}

} // namespace Ambrel
