#ifndef AMBRELKIT_LINUX_BLUETOOTH_ADVERTISEMENT_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_ADVERTISEMENT_HPP

#include "AmbrelKit/Linux/Bluetooth/Properties.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/UUID.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

/// What BlueZ has told of a device's advertisements, as it was told last: each of them need not
/// hold everything.
struct Advertisement {
    std::vector<UUID> services;
    std::vector<std::pair<std::string, std::string>> serviceData;        ///< by UUID, bytes
    std::vector<std::pair<std::uint16_t, std::string>> manufacturerData; ///< by company, bytes
    std::optional<std::int16_t> txPower;
    std::optional<std::uint16_t> appearance;

    void take(const DeviceProperties& read);

    /// As `advertisementDataOption` says.
    [[nodiscard]] JSONDictionary dictionary() const;
};

} // namespace AmbrelKit::Linux

#endif
