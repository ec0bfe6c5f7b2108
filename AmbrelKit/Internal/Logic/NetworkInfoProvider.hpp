#ifndef AMBRELKIT_INTERNAL_LOGIC_NETWORKINFOPROVIDER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_NETWORKINFOPROVIDER_HPP

#include "AmbrelKit/Internal/Models/Network.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct ifaddrs;

namespace AmbrelKit {

/// The interface names whose IPv4 address counts by default.
struct InterfaceNames {
    static const std::vector<std::string_view>& wifi();
    static const std::vector<std::string_view>& wired();
    static const std::vector<std::string_view>& cellular();
    static const std::vector<std::string_view>& supported();
};

/// Where a tick's network state comes from. The closures belong to the process and may be replaced
/// before a collection starts.
struct NetworkEnvironment {
    static std::function<std::optional<std::string>()> addressIPv4;
    static std::function<std::vector<WifiNetworkHost>()> availableNetworks;

    /// The joined Wi-Fi networks; never absent, the list may be empty.
    static std::optional<WifiNetwork> networkInfo();

    /// The default of `addressIPv4`: asks the system for its interface addresses.
    static std::optional<std::string> _addressIPv4();
    /// The address of the first entry of `list` that is IPv4 and on a supported interface. `list`
    /// may be null.
    static std::optional<std::string> addressIPv4Among(const ifaddrs* list);

    /// The default of `availableNetworks`: asks `CaptiveNetwork`.
    static std::vector<WifiNetworkHost> _availableNetworks();
};

/// Where the joined Wi-Fi networks are asked for. By default nothing answers.
struct CaptiveNetwork {
    // The keys of a network's description; both values are texts.
    static constexpr std::string_view networkInfoKeySSID = "SSID";
    static constexpr std::string_view networkInfoKeyBSSID = "BSSID";

    /// The interfaces that can be asked: a list of texts, or nothing. Any other value counts as
    /// nothing.
    static std::function<std::optional<JSONValue>()> supportedInterfaces;

    /// What is joined on an interface: a dictionary, or nothing. Any other value counts as nothing.
    static std::function<std::optional<JSONValue>(const std::string& interface)> currentNetworkInfo;

    // The defaults of the two.
    static std::optional<JSONValue> _supportedInterfaces();
    static std::optional<JSONValue> _currentNetworkInfo(const std::string& interface);
};

} // namespace AmbrelKit

#endif
