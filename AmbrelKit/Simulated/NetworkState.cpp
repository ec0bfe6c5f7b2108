#include "AmbrelKit/Simulated/NetworkState.hpp"

#include <arpa/inet.h>
#include <cstring>
#include <utility>

namespace AmbrelKit::Simulated {

namespace {

/// The socket address that `text` spells, of no family when it spells none.
sockaddr_in6 socketAddress(const std::string& text) {
    sockaddr_in6 address{};
    if (text.find('\0') != std::string::npos) {
        return address;
    }
    sockaddr_in ipv4{};
    if (inet_pton(AF_INET, text.c_str(), &ipv4.sin_addr) == 1) {
        ipv4.sin_family = AF_INET;
        std::memcpy(&address, &ipv4, sizeof ipv4);
    } else if (inet_pton(AF_INET6, text.c_str(), &address.sin6_addr) == 1) {
        address.sin6_family = AF_INET6;
    }
    return address;
}

std::optional<JSONValue> presentValue(const JSONValue& value) {
    return value.is_null() ? std::nullopt : std::optional(value);
}

} // namespace

void NetworkState::setInterfaces(const std::vector<InterfaceAddress>& interfaces) {
    entries_ = std::vector<Entry>(interfaces.size());
    ifaddrs* next = nullptr;
    for (std::size_t i = interfaces.size(); i-- > 0;) {
        const InterfaceAddress& interface = interfaces[i];
        Entry& entry = entries_[i];
        if (interface.name.find('\0') == std::string::npos) { // cut short it would be another name
            entry.name = interface.name;
        }
        entry.link.ifa_name = entry.name.data();
        if (interface.address) {
            entry.address = socketAddress(*interface.address);
            entry.link.ifa_addr = reinterpret_cast<sockaddr*>(&entry.address);
        }
        entry.link.ifa_next = std::exchange(next, &entry.link);
    }
}

void NetworkState::setCaptiveNetwork(JSONValue supportedInterfaces, JSONDictionary info) {
    supported_ = std::move(supportedInterfaces);
    info_ = std::move(info);
}

std::optional<JSONValue> NetworkState::supportedInterfaces() const {
    return presentValue(supported_);
}

std::optional<JSONValue> NetworkState::currentNetworkInfo(const std::string& interface) const {
    const auto entry = info_.find(interface);
    return entry == info_.end() ? std::nullopt : presentValue(entry->second);
}

} // namespace AmbrelKit::Simulated
