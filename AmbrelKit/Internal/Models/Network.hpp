#ifndef AMBRELKIT_INTERNAL_MODELS_NETWORK_HPP
#define AMBRELKIT_INTERNAL_MODELS_NETWORK_HPP

#include "AmbrelKit/Internal/Extensions/JSONEncoder.hpp"

#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit {

/// The Wi-Fi network joined on one interface. Only the network's name is ever written.
struct WifiNetworkHost {
    Text interface;
    std::optional<Text> ssid;
    std::optional<Text> bssid;

    friend bool operator==(const WifiNetworkHost&, const WifiNetworkHost&) = default;

    [[nodiscard]] JSONValue encode(const JSONEncoder& encoder) const;
};

/// The Wi-Fi networks that the device is joined to, one for each joined interface.
struct WifiNetwork {
    std::vector<WifiNetworkHost> connectedDevices;

    friend bool operator==(const WifiNetwork&, const WifiNetwork&) = default;

    [[nodiscard]] JSONValue encode(const JSONEncoder& encoder) const;
};

/// What a tick of the collection timer carries.
struct Network {
    std::optional<Text> addressIPv4;
    std::optional<WifiNetwork> info;
};

} // namespace AmbrelKit

#endif
