#ifndef AMBRELKIT_INTERNAL_MODELS_DATAEVENT_HPP
#define AMBRELKIT_INTERNAL_MODELS_DATAEVENT_HPP

#include "AmbrelKit/Internal/Models/Bluetooth.hpp"
#include "AmbrelKit/Internal/Models/Location.hpp"
#include "AmbrelKit/Internal/Models/NearbyDevice.hpp"
#include "AmbrelKit/Internal/Models/Network.hpp"
#include "AmbrelKit/Internal/Models/ScanningMode.hpp"

#include <variant>

namespace AmbrelKit {

/// Everything that can change what was collected; one alternative for each cause.
namespace DataEvents {

/// A collection is asked for.
struct scan {
    ScanningMode mode;
};

/// The collection timer has fired, and this is the device's network now.
struct timerDidTick {
    Network network;
};

struct didDiscoverBluetoothPeripheral {
    BluetoothPeripheral peripheral;
};

struct didDiscoverNearbyDevice {
    NearbyDevice device;
};

struct didUpdateLocation {
    Location location;
};

} // namespace DataEvents

using DataEvent = std::variant<DataEvents::scan, DataEvents::timerDidTick,
                               DataEvents::didDiscoverBluetoothPeripheral,
                               DataEvents::didDiscoverNearbyDevice, DataEvents::didUpdateLocation>;

} // namespace AmbrelKit

#endif
