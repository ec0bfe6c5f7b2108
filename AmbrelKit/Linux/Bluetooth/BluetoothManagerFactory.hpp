#ifndef AMBRELKIT_LINUX_BLUETOOTH_BLUETOOTHMANAGERFACTORY_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_BLUETOOTHMANAGERFACTORY_HPP

#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"

#include <memory>

namespace AmbrelKit::Linux {

class EventLoop;

/// Makes managers on BlueZ (the service org.bluez of the system bus), whose reports come from
/// `loop`. Where BlueZ is not running, or may not be used, a manager says so as its state.
BluetoothManagerFactory makeBluetoothManagerFactory(std::shared_ptr<EventLoop> loop);

} // namespace AmbrelKit::Linux

#endif
