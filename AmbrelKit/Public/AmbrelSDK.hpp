#ifndef AMBRELKIT_AMBRELSDK_HPP
#define AMBRELKIT_AMBRELSDK_HPP

#include <AmbrelKit/AmbrelError.hpp>
#include <AmbrelKit/AmbrelSDKDelegate.hpp>
#include <AmbrelKit/Platform/Application.hpp>
#include <AmbrelKit/Platform/BluetoothCentralManager.hpp>
#include <AmbrelKit/Platform/Export.hpp>
#include <AmbrelKit/Platform/LocationManager.hpp>
#include <AmbrelKit/Platform/NetServiceBrowser.hpp>
#include <AmbrelKit/Platform/NotificationCenter.hpp>
#include <AmbrelKit/Platform/Timer.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit {

/// The entry to the kit: takes a ten-second snapshot of what surrounds the device, and hands it to
/// the delegate as one dictionary.
///
/// All facades that a process has at a time live on one thread, the one that creates them: every
/// operation is called there, also from inside a callback of the kit, and the last reference is let
/// go there. A debug build of the kit asserts that; a release build does not notice. No operation
/// waits. The host owns the facade; releasing it ends what runs, and nothing more is delivered.
/// What a callback of the host throws leaves through the operation that called it.
class AMBRELKIT_API AmbrelSDK {
public:
    /// A facade on this machine's own platform, driven by the calling thread's `RunLoop`. The
    /// DNS-SD types to browse are those that the main bundle lists now under "NSBonjourServices"
    /// (Platform/Bundle.hpp tells how); without that list no services are found. Throws
    /// std::system_error when the system gives no descriptors for the loop, or libsystemd can't be
    /// loaded; from then on a lack of descriptors silences sources, and nothing else.
    static std::shared_ptr<AmbrelSDK> create();

    /// A facade on a platform of the host's choice: the designated constructor. `bonjourServices`
    /// are the DNS-SD types to browse, such as "_ipp._tcp", absent or empty for none. The factories
    /// are kept and called at each start. None of the parts may be empty or null.
    static std::shared_ptr<AmbrelSDK>
    create(std::optional<std::vector<std::string>> bonjourServices,
           BluetoothManagerFactory bluetoothManagerFactory,
           LocationManagerFactory locationManagerFactory,
           NetServiceBrowserFactory netServiceBrowserFactory, TimerFactory timerFactory,
           std::shared_ptr<NotificationCenter> notificationCenter,
           std::shared_ptr<Application> application);

    virtual ~AmbrelSDK() = default;

    /// The host's delegate, or null. Not owned.
    [[nodiscard]] virtual std::shared_ptr<AmbrelSDKDelegate> delegate() const = 0;

    /// Replaces the delegate. Starts, stops and reports nothing.
    virtual void setDelegate(std::weak_ptr<AmbrelSDKDelegate> delegate) = 0;

    /// Collects now for ten seconds, and again each time the application becomes active, until
    /// `stopScanning()` or a single collection. A finished record within the reuse threshold is
    /// delivered again instead; without any granted permission an empty record is delivered. Both
    /// deliveries happen before this returns. What a callback of the host throws leaves through
    /// here, and then nothing was started. During the ten seconds of a collection the request is
    /// ignored; between their end and the delivery, a tick later at most, it begins another in its
    /// place.
    virtual void startScanning() = 0;

    /// As `startScanning()`, once: a collection that this starts ends the automatic mode.
    virtual void startScanningOnce() = 0;

    /// Ends the background task of the automatic mode, by which sleep is delayed. A running
    /// collection goes on. Does nothing without such a task.
    virtual void completeScanning() = 0;

    /// Ends the running collection without delivering it, the automatic mode and the background
    /// task. Afterwards nothing is reported until the next start; what was collected stays in the
    /// open record until that is ten seconds old. May be called when nothing runs. When a question
    /// to the host throws, it is half done: to be called again.
    virtual void stopScanning() = 0;

    /// Turns the automatic mode on without starting a collection now. The background task begins
    /// here.
    virtual void automaticModeForNotificationAndBackgroundTask() = 0;

    /// Sets the reuse threshold of this process: up to how many seconds after its start a finished
    /// collection is delivered again in answer to a request. From 0 to 30, both included, 30 at
    /// first. It holds for every facade, also for later ones. Throws
    /// `AmbrelError::invalidThresholdValue` otherwise, and changes nothing.
    virtual void setAmbrelTimeThreshold(std::int64_t seconds) = 0;

    /// The same without an exception: false when `seconds` is not from 0 to 30, and then fills
    /// `error` unless it is null.
    virtual bool setAmbrelTimeThreshold(std::int64_t seconds,
                                        AmbrelErrorObject* error) noexcept = 0;

    /// How many records the facade keeps, the newest; absent (the default) for every one. A host
    /// that runs for months sets it.
    [[nodiscard]] virtual std::optional<std::size_t> historyLimit() const = 0;
    /// Sets it, from now on: what is beyond it goes. At least 1; 0 counts as 1.
    virtual void setHistoryLimit(std::optional<std::size_t> limit) = 0;

protected:
    AmbrelSDK() = default;
    /// For those who derive.
    ///@{
    AmbrelSDK(const AmbrelSDK&) = default;
    AmbrelSDK& operator=(const AmbrelSDK&) = default;
    ///@}
};

} // namespace AmbrelKit

#endif
