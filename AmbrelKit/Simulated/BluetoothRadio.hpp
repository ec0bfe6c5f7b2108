#ifndef AMBRELKIT_SIMULATED_BLUETOOTHRADIO_HPP
#define AMBRELKIT_SIMULATED_BLUETOOTHRADIO_HPP

#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"
#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Simulated/Context.hpp"
#include "AmbrelKit/Simulated/Sources.hpp"

#include <memory>

namespace AmbrelKit::Simulated {

/// A Bluetooth radio that reports what it is told to, through the newest manager that it made, if
/// that lives and has a delegate; otherwise nobody hears it. A new manager tells nothing by itself.
class BluetoothRadio {
public:
    /// A `Platform` makes it.
    AMBRELKIT_API BluetoothRadio(std::shared_ptr<Context> context,
                                 std::shared_ptr<Sources> sources);

    /// What a `BluetoothManagerFactory` does.
    [[nodiscard]] AMBRELKIT_API std::shared_ptr<BluetoothCentralManager> makeManager();

    /// The newest manager's state becomes `state`, which it reports.
    AMBRELKIT_API void reportState(BluetoothManagerState state);

    /// The newest manager reports a sighting, whether it scans or not, with this advertisement data
    /// and signal strength in dBm.
    AMBRELKIT_API void reportDiscovery(const Peripheral& peripheral,
                                       const JSONDictionary& advertisementData = {},
                                       int rssi = unknownSignalStrength);

private:
    class Manager;

    std::shared_ptr<Context> context_;
    std::shared_ptr<Sources> sources_;
    std::weak_ptr<Manager> newest_;
};

} // namespace AmbrelKit::Simulated

#endif
