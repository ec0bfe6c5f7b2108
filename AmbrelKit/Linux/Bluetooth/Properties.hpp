#ifndef AMBRELKIT_LINUX_BLUETOOTH_PROPERTIES_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_PROPERTIES_HPP

#include "AmbrelKit/Platform/UUID.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <systemd/sd-bus.h>
#include <utility>
#include <vector>

// Reads what BlueZ writes about its objects, straight from the message. A value that is absent, or
// of another type than documented, is absent here; texts point into the message.

namespace AmbrelKit::Linux {

struct AdapterProperties {
    std::optional<bool> powered;
    std::optional<bool> discovering;
};

/// Bytes that are advertised, each by its key.
template <class Key> using AdvertisedBytes = std::vector<std::pair<Key, std::string_view>>;

struct DeviceProperties {
    std::optional<std::string_view> address;
    std::optional<bool> addressIsRandom;
    std::optional<std::string_view>
        name; ///< not the Alias, which is the address when there is none
    std::optional<std::int16_t> rssi;
    bool rssiInvalidated = false; ///< it was present until now
    std::optional<std::vector<UUID>> services;
    std::optional<AdvertisedBytes<std::string_view>> serviceData;
    std::optional<AdvertisedBytes<std::uint16_t>> manufacturerData;
    std::optional<std::int16_t> txPower;
    std::optional<std::uint16_t> appearance;
    bool hasAdvertisingFlags = false; ///< so it was heard over Low Energy
    bool hasClass = false;            ///< so an inquiry, which is of BR/EDR, has heard it
};

/// The interfaces of one object that matter here.
struct ObjectProperties {
    std::optional<AdapterProperties> adapter;
    std::optional<DeviceProperties> device;
};

/// The body of PropertiesChanged: an interface and its changed properties.
ObjectProperties readChanges(sd_bus_message* message);

/// The body of InterfacesAdded. `path` is empty when it cannot be read.
ObjectProperties readAdded(sd_bus_message* message, std::string_view& path);

/// What went with InterfacesRemoved.
struct RemovedInterfaces {
    std::string_view path;
    bool adapter = false;
    bool device = false;
};
RemovedInterfaces readRemoved(sd_bus_message* message);

/// The reply of GetManagedObjects, object by object; it may begin again from the first one.
void readObjects(sd_bus_message* message,
                 const std::function<void(std::string_view path, const ObjectProperties&)>& object);

} // namespace AmbrelKit::Linux

#endif
