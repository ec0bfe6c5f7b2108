#include "AmbrelKit/Internal/Logic/BluetoothDevicesProvider.hpp"

#include "AmbrelKit/Internal/Environment.hpp"

#include <utility>

namespace AmbrelKit {

BluetoothDevicesProvider::BluetoothDevicesProvider(BluetoothManagerFactory bluetoothManagerFactory)
    : bluetoothManagerFactory_(std::move(bluetoothManagerFactory)) {}

void BluetoothDevicesProvider::setDelegate(
    std::weak_ptr<BluetoothDevicesProviderDelegate> delegate) {
    delegate_ = std::move(delegate);
}

void BluetoothDevicesProvider::start() {
    bluetoothManager_ = bluetoothManagerFactory_();
    bluetoothManager()->setDelegate(weak_from_this());
}

void BluetoothDevicesProvider::stop() {
    const auto manager = bluetoothManager();
    manager->stopScan();
    manager->setDelegate({});
}

void BluetoothDevicesProvider::centralManagerDidUpdateState(BluetoothCentralManager& manager) {
    if (manager.state() == BluetoothManagerState::poweredOn) {
        bluetoothManager()->scanForPeripheralsWithServices(std::nullopt, std::nullopt);
    }
}

void BluetoothDevicesProvider::centralManagerDidDiscoverPeripheral(
    BluetoothCentralManager& /*manager*/, const Peripheral& peripheral,
    const JSONDictionary& /*advertisementData*/, int /*rssi*/) {
    const BluetoothPeripheral sighting{.identifier = peripheral.identifier,
                                       .name = peripheral.name,
                                       .timestamp = Environment::shared().currentDate()};
    if (const auto delegate = delegate_.lock()) {
        delegate->didDiscoverPeripheral(sighting);
    }
}

std::shared_ptr<BluetoothCentralManager> BluetoothDevicesProvider::bluetoothManager() {
    if (!bluetoothManager_) {
        bluetoothManager_ = bluetoothManagerFactory_();
    }
    return bluetoothManager_;
}

} // namespace AmbrelKit
