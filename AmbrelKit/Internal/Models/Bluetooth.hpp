#ifndef AMBRELKIT_INTERNAL_MODELS_BLUETOOTH_HPP
#define AMBRELKIT_INTERNAL_MODELS_BLUETOOTH_HPP

#include "AmbrelKit/Internal/Extensions/JSONEncoder.hpp"

#include <compare>
#include <optional>

namespace AmbrelKit {

/// A Bluetooth Low Energy peripheral that was seen.
struct BluetoothPeripheral {
    UUID identifier;
    std::optional<Text> name;
    std::chrono::system_clock::time_point timestamp; ///< when it was seen

    friend bool operator==(const BluetoothPeripheral&, const BluetoothPeripheral&) = default;

    /// By identifier alone: two sightings of one peripheral are neither before nor after each
    /// other.
    friend std::weak_ordering operator<=>(const BluetoothPeripheral& a,
                                          const BluetoothPeripheral& b) {
        return a.identifier <=> b.identifier;
    }

    [[nodiscard]] JSONValue encode(const JSONEncoder& encoder) const;
};

} // namespace AmbrelKit

#endif
