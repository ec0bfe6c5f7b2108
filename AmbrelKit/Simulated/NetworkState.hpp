#ifndef AMBRELKIT_SIMULATED_NETWORKSTATE_HPP
#define AMBRELKIT_SIMULATED_NETWORKSTATE_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <ifaddrs.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit::Simulated {

/// One entry of the interface-address list.
struct InterfaceAddress {
    /// Of the interface: "wlan0".
    std::string name;
    /// The text of an IPv4 or IPv6 address. Any other text makes an entry of no known family;
    /// absent, one without an address.
    std::optional<std::string> address;

    /// Memberwise.
    bool operator==(const InterfaceAddress&) const = default;
};

/// What a tick of a collection finds of the device's network: nothing, until it is set.
class NetworkState {
public:
    NetworkState() = default;
    NetworkState(const NetworkState&) = delete;
    NetworkState& operator=(const NetworkState&) = delete;
    ~NetworkState() = default;

    /// Has these from the next tick on.
    AMBRELKIT_API void setInterfaces(const std::vector<InterfaceAddress>& interfaces);

    /// What the two captive-network queries answer: the interfaces that can be asked, and what is
    /// joined on each; null, and a missing name, stand for nothing.
    AMBRELKIT_API void setCaptiveNetwork(JSONValue supportedInterfaces, JSONDictionary info);

    /// The entries as getifaddrs would give them; null when there are none. Valid until they are
    /// set again.
    [[nodiscard]] const ifaddrs* interfaces() const {
        return entries_.empty() ? nullptr : &entries_.front().link;
    }

    /// What the kit is told of wireless interfaces: a list of names, or nothing.
    [[nodiscard]] AMBRELKIT_API std::optional<JSONValue> supportedInterfaces() const;
    /// What the kit is told of one: "SSID" and "BSSID", or nothing.
    [[nodiscard]] AMBRELKIT_API std::optional<JSONValue>
    currentNetworkInfo(const std::string& interface) const;

private:
    struct Entry {
        std::string name;
        sockaddr_in6 address{}; // room for either family
        ifaddrs link{};
    };

    std::vector<Entry> entries_; ///< their links point at each other: never moved once linked
    JSONValue supported_;
    JSONDictionary info_;
};

} // namespace AmbrelKit::Simulated

#endif
