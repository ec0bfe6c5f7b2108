#ifndef AMBRELKIT_INTERNAL_MODELS_NEARBYDEVICE_HPP
#define AMBRELKIT_INTERNAL_MODELS_NEARBYDEVICE_HPP

#include "AmbrelKit/Internal/Extensions/JSONEncoder.hpp"
#include "AmbrelKit/Internal/Extensions/Shared.hpp"

#include <compare>
#include <map>
#include <optional>

namespace AmbrelKit {

/// A DNS-SD service that was found on the local network.
struct NearbyDevice {
    Text name;         ///< the instance name
    Text protocolType; ///< the service type, for example `_ipp._tcp.`
    std::optional<Text> addressIPv4;
    std::optional<Shared<std::map<Text, Text>>> txtRecord;
    std::chrono::system_clock::time_point timestamp; ///< when it was found

    /// What tells one service from another: type and name, joined without a separator.
    [[nodiscard]] Text protocolTypeWithName() const {
        return {std::string(protocolType.string()).append(name.string())};
    }

    friend bool operator==(const NearbyDevice&, const NearbyDevice&) = default;

    /// By type, then by name.
    friend std::weak_ordering operator<=>(const NearbyDevice& a, const NearbyDevice& b) {
        const auto byType = a.protocolType <=> b.protocolType;
        return byType != 0 ? byType : a.name <=> b.name;
    }

    [[nodiscard]] JSONValue encode(const JSONEncoder& encoder) const;
};

} // namespace AmbrelKit

#endif
