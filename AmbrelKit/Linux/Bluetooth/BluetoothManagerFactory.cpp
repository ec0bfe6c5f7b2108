#include "AmbrelKit/Linux/Bluetooth/BluetoothManagerFactory.hpp"

#include "AmbrelKit/Linux/Bluetooth/CentralManager.hpp"

#include <utility>

namespace AmbrelKit::Linux {

BluetoothManagerFactory makeBluetoothManagerFactory(std::shared_ptr<EventLoop> loop) {
    preparePeripheralIdentifiers();
    return [loop = std::move(loop)] { return std::make_shared<CentralManager>(loop); };
}

} // namespace AmbrelKit::Linux
