#ifndef AMBRELKIT_PLATFORM_BLUETOOTHCENTRALMANAGER_HPP
#define AMBRELKIT_PLATFORM_BLUETOOTHCENTRALMANAGER_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/UUID.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit {

class BluetoothCentralManager;

/// What a central manager says of its radio. A platform may report other numbers; they mean
/// nothing.
enum class BluetoothManagerState : int {
    unknown = 0,      ///< nothing is known yet
    resetting = 1,    ///< the service behind the manager was lost; it may come back
    unsupported = 2,  ///< there is no adapter
    unauthorized = 3, ///< this process may not use it
    poweredOff = 4,   ///< switched off, or blocked by a radio switch
    poweredOn = 5,    ///< ready to scan
};

/// A peripheral as the platform reports it.
struct Peripheral {
    /// Stable for this peripheral on this machine; it is not the peripheral's hardware address.
    UUID identifier;
    /// The name that the peripheral advertises, valid UTF-8; absent when it advertises none.
    std::optional<std::string> name;
};

/// An option of a scan: where it is true, each report carries the advertisement data that the
/// platform has by then; where it is absent, reports may come without. On BlueZ they then do, and
/// with it they hold, of these, what the peripheral advertises:
///
/// - `services`: a list of UUIDs, upper-case texts
/// - `serviceData`: bytes by the UUID of their service
/// - `manufacturerData`: bytes by the number of the company, four hexadecimal digits
/// - `txPower`: a number, in dBm
/// - `appearance`: a number, as Bluetooth assigns them
///
/// Bytes are texts of two lower-case hexadecimal digits each.
inline constexpr const char* advertisementDataOption = "advertisementData";

/// The strength of a signal whose strength is not known.
inline constexpr int unknownSignalStrength = 127;

/// Receives a manager's reports, on the thread that made the manager. A report may come while a
/// call to the manager is on the stack. The receiver may call the manager, or let go of it, inside
/// a report; what it throws leaves through what reported, as a rule the run loop.
class AMBRELKIT_API BluetoothCentralManagerDelegate {
public:
    virtual ~BluetoothCentralManagerDelegate() = default;

    /// The manager's state has changed, or is told for the first time.
    virtual void centralManagerDidUpdateState(BluetoothCentralManager& manager) = 0;

    /// A peripheral was seen. `advertisementData` is what the platform gives of its advertisement
    /// (see `advertisementDataOption`), and may be empty; `rssi` is in dBm, or
    /// `unknownSignalStrength`.
    virtual void centralManagerDidDiscoverPeripheral(BluetoothCentralManager& manager,
                                                     const Peripheral& peripheral,
                                                     const JSONDictionary& advertisementData,
                                                     int rssi) = 0;
};

/// Scans for Bluetooth Low Energy peripherals. Used on one thread, the one that made it. No call
/// waits for the service behind it. Releasing a manager ends its scan.
class AMBRELKIT_API BluetoothCentralManager {
public:
    virtual ~BluetoothCentralManager() = default;

    /// The receiver of the reports, or null. Not owned.
    [[nodiscard]] virtual std::shared_ptr<BluetoothCentralManagerDelegate> delegate() const = 0;

    /// Replaces the receiver. Once it is absent nothing is reported any more. The current state is
    /// reported to a newly set receiver from the run loop, never from inside this call.
    virtual void setDelegate(std::weak_ptr<BluetoothCentralManagerDelegate> delegate) = 0;

    /// The state as last reported.
    [[nodiscard]] virtual BluetoothManagerState state() const = 0;

    /// Begins to scan. `services` filters by advertised service (absent: all); `options` are the
    /// platform's own (absent: its defaults, which do not ask for repeated advertisements); one
    /// that it does not know changes nothing. Scanning again while scanning changes nothing. The
    /// scan is wanted until `stopScan`: a radio that goes and comes back is scanned again.
    virtual void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& services,
                                                const std::optional<JSONDictionary>& options) = 0;

    /// Ends the scan. Does nothing when none runs, or when the radio or its service is gone.
    virtual void stopScan() = 0;
};

/// Makes a new manager at each call.
using BluetoothManagerFactory = std::function<std::shared_ptr<BluetoothCentralManager>()>;

} // namespace AmbrelKit

#endif
