#ifndef AMBRELKIT_INTERNAL_LOGIC_BLUETOOTHDEVICESPROVIDER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_BLUETOOTHDEVICESPROVIDER_HPP

#include "AmbrelKit/Internal/Models/Bluetooth.hpp"
#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"

#include <memory>

namespace AmbrelKit {

/// Receives what the provider sees.
class BluetoothDevicesProviderDelegate {
public:
    virtual ~BluetoothDevicesProviderDelegate() = default;
    virtual void didDiscoverPeripheral(const BluetoothPeripheral& peripheral) = 0;
};

/// Scans for peripherals, and reports every sighting as it comes; merging them is not its work.
class BluetoothDevicesProvider final
    : public BluetoothCentralManagerDelegate,
      public std::enable_shared_from_this<BluetoothDevicesProvider> {
public:
    explicit BluetoothDevicesProvider(BluetoothManagerFactory bluetoothManagerFactory);

    void setDelegate(std::weak_ptr<BluetoothDevicesProviderDelegate> delegate);

    /// Takes a new manager; the scan begins when it reports that its radio is on.
    void start();
    /// Ends the scan. The manager stays until the next start.
    void stop();

    void centralManagerDidUpdateState(BluetoothCentralManager& manager) override;
    void centralManagerDidDiscoverPeripheral(BluetoothCentralManager& manager,
                                             const Peripheral& peripheral,
                                             const JSONDictionary& advertisementData,
                                             int rssi) override;

private:
    /// The manager in use, made when there is none yet.
    std::shared_ptr<BluetoothCentralManager> bluetoothManager();

    std::weak_ptr<BluetoothDevicesProviderDelegate> delegate_;
    BluetoothManagerFactory bluetoothManagerFactory_;
    std::shared_ptr<BluetoothCentralManager> bluetoothManager_;
};

} // namespace AmbrelKit

#endif
