#ifndef AMBRELKIT_INTERNAL_MODELS_KNOWNTEXTS_HPP
#define AMBRELKIT_INTERNAL_MODELS_KNOWNTEXTS_HPP

#include "AmbrelKit/Internal/Models/Bluetooth.hpp"
#include "AmbrelKit/Internal/Models/NearbyDevice.hpp"
#include "AmbrelKit/Internal/Models/Network.hpp"

#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace AmbrelKit {

/// Replaces what is equal to what was met before by just that, so that both are in memory once.
class KnownTexts {
public:
    [[nodiscard]] Text sharing(const Text& text);
    [[nodiscard]] BluetoothPeripheral sharing(const BluetoothPeripheral& peripheral);
    [[nodiscard]] NearbyDevice sharing(const NearbyDevice& device);
    [[nodiscard]] WifiNetworkHost sharing(const WifiNetworkHost& host);
    [[nodiscard]] WifiNetwork sharing(const WifiNetwork& network);

    template <class Value>
    [[nodiscard]] std::optional<Value> sharing(const std::optional<Value>& value) {
        return value ? std::optional(sharing(*value)) : std::nullopt;
    }

private:
    using TXTRecord = Shared<std::map<Text, Text>>;

    struct BySpelling {
        bool operator()(const Text& a, const Text& b) const { return a.string() == b.string(); }
    };

    std::unordered_set<Text, std::hash<Text>, BySpelling> texts_;
    std::unordered_map<Text, TXTRecord> records_; ///< by the service
};

} // namespace AmbrelKit

#endif
