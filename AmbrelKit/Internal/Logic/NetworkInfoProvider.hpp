#ifndef AMBRELKIT_INTERNAL_LOGIC_NETWORKINFOPROVIDER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_NETWORKINFOPROVIDER_HPP

#include "AmbrelKit/Internal/Models/Network.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct ifaddrs;

namespace AmbrelKit {

/// The interface names whose IPv4 address counts by default.
namespace InterfaceNames {
inline constexpr std::array<std::string_view, 2> wifi{"en0", "en1"};
inline constexpr std::array<std::string_view, 3> wired{"en2", "en3", "en4"};
inline constexpr std::array<std::string_view, 4> cellular{"pdp_ip0", "pdp_ip1", "pdp_ip2",
                                                          "pdp_ip3"};
/// Whether `name` is one of them.
bool supported(std::string_view name);
} // namespace InterfaceNames

/// Where a tick's network state comes from. The closures may be replaced before a collection
/// starts.
struct NetworkEnvironment {
    /// The one of the process, made on first use and never destroyed.
    static NetworkEnvironment& shared();

    std::function<std::optional<std::string>()> addressIPv4 = _addressIPv4;
    std::function<std::vector<WifiNetworkHost>()> availableNetworks = _availableNetworks;

    /// The joined Wi-Fi networks; never absent, the list may be empty.
    [[nodiscard]] std::optional<WifiNetwork> networkInfo() const;

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
    /// The one of the process, made on first use and never destroyed.
    static CaptiveNetwork& shared();

    // The keys of a network's description; both values are texts.
    static constexpr std::string_view networkInfoKeySSID = "SSID";
    static constexpr std::string_view networkInfoKeyBSSID = "BSSID";

    /// The interfaces that can be asked: a list of texts, or nothing. Any other value counts as
    /// nothing.
    std::function<std::optional<JSONValue>()> supportedInterfaces = _supportedInterfaces;

    /// What is joined on an interface: a dictionary, or nothing. Any other value counts as nothing.
    std::function<std::optional<JSONValue>(const std::string& interface)> currentNetworkInfo =
        _currentNetworkInfo;

    // The defaults of the two.
    static std::optional<JSONValue> _supportedInterfaces();
    static std::optional<JSONValue> _currentNetworkInfo(const std::string& interface);
};

} // namespace AmbrelKit

#endif
