#ifndef AMBRELKIT_INTERNAL_MODELS_NETWORK_HPP
#define AMBRELKIT_INTERNAL_MODELS_NETWORK_HPP

#include "AmbrelKit/Internal/Extensions/Text.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit {

/// The Wi-Fi network joined on one interface.
struct WifiNetworkHost {
    Text interface;
    std::optional<Text> ssid;
    std::optional<Text> bssid;

    /// The host that the platform's description of the joined network makes: its "SSID" and "BSSID"
    /// where they are texts. Nothing without a description.
    static std::optional<WifiNetworkHost>
    fromCurrentNetworkInfo(const std::string& interface,
                           const std::optional<JSONDictionary>& currentNetworkInfo);

    friend bool operator==(const WifiNetworkHost&, const WifiNetworkHost&) = default;
};

/// The Wi-Fi networks that the device is joined to.
struct WifiNetwork {
    std::vector<WifiNetworkHost> connectedDevices;

    friend bool operator==(const WifiNetwork&, const WifiNetwork&) = default;
};

/// What a tick of the collection timer carries.
struct Network {
    std::optional<Text> addressIPv4;
    std::optional<WifiNetwork> info;
};

} // namespace AmbrelKit

#endif
