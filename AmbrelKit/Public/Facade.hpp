#ifndef AMBRELKIT_PUBLIC_FACADE_HPP
#define AMBRELKIT_PUBLIC_FACADE_HPP

#include "AmbrelKit/Internal/KitThread.hpp"
#include "AmbrelKit/Internal/Logic/BackgroundTaskScheduler.hpp"
#include "AmbrelKit/Internal/Logic/BluetoothDevicesProvider.hpp"
#include "AmbrelKit/Internal/Logic/LocationProvider.hpp"
#include "AmbrelKit/Internal/Logic/NearbyDevicesProvider.hpp"
#include "AmbrelKit/Internal/Logic/PermissionsHelper.hpp"
#include "AmbrelKit/Internal/Logic/ScanningBackgroundSuspender.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>

namespace AmbrelKit {

/// The facade behind `AmbrelSDK`: owns the providers, the timer and the store, and wires them.
/// Everything that leads back to it is weak.
class Facade final : public AmbrelSDK,
                     public BluetoothDevicesProviderDelegate,
                     public LocationProviderDelegate,
                     public NearbyDevicesProviderDelegate,
                     public PermissionsHelperDelegate,
                     public std::enable_shared_from_this<Facade> {
public:
    Facade(std::optional<std::vector<std::string>> bonjourServices,
           BluetoothManagerFactory bluetoothManagerFactory,
           LocationManagerFactory locationManagerFactory,
           NetServiceBrowserFactory netServiceBrowserFactory, TimerFactory timerFactory,
           std::shared_ptr<NotificationCenter> notificationCenter,
           std::shared_ptr<Application> application);

    /// Makes the facade the one that answers permission queries and that the providers report to.
    void registerAsDelegate();

    [[nodiscard]] std::shared_ptr<AmbrelSDKDelegate> delegate() const override;
    void setDelegate(std::weak_ptr<AmbrelSDKDelegate> delegate) override;
    void startScanning() override;
    void startScanningOnce() override;
    void completeScanning() override;
    void stopScanning() override;
    void automaticModeForNotificationAndBackgroundTask() override;
    void setAmbrelTimeThreshold(std::int64_t seconds) override;
    bool setAmbrelTimeThreshold(std::int64_t seconds, AmbrelErrorObject* error) noexcept override;
    [[nodiscard]] std::optional<std::size_t> historyLimit() const override;
    void setHistoryLimit(std::optional<std::size_t> limit) override;

    void didDiscoverPeripheral(const BluetoothPeripheral& peripheral) override;
    void locationProviderDidUpdateLocation(const Location& location) override;
    void didFindNearbyDevice(const NearbyDevice& device) override;

    AmbrelPermissionStatus bluetoothSettingStatus() override;
    AmbrelPermissionStatus bluetoothPermissionStatus() override;
    AmbrelPermissionStatus locationSettingStatus() override;
    AmbrelPermissionStatus locationPermissionStatus() override;
    AmbrelPermissionStatus locationPrecisePermissionStatus() override;
    AmbrelPermissionStatus networkSettingStatus() override;
    AmbrelPermissionStatus networkPermissionStatus() override;

private:
    /// The facade, held for as long as a public call runs: a host may let go of it from inside one.
    /// Every public call begins with it.
    [[nodiscard]] std::shared_ptr<const Facade> entered() const;

    /// The host's; unknown without one.
    [[nodiscard]] AmbrelPermissionStatus
        answer(AmbrelPermissionStatus (AmbrelSDKDelegate::*query)()) const;

    // Made on first use, then kept.
    std::shared_ptr<DataStore> store();
    std::shared_ptr<ScanningBackgroundSuspender> scanningSuspender();

    // How a scan is started and stopped: ScanWiring.cpp.
    [[nodiscard]] DataEnvironment environment();
    [[nodiscard]] bool allowScanning();
    void start(ScanningMode mode);
    void stop();
    void notifyDelegate(const JSONDictionary& data) const;
    void deliverEmptyRecord() const;
    void configureTimer();
    void invalidateTimer();
    void sendTimerTickEvent();
    void configureResumeAndSuspendScanning(ScanningMode mode);
    void configureBackgroundTask(ScanningMode mode);

    /// What outlasts a collection.
    struct Lasting {
        bool automatic = false; ///< the host's return to the front starts another one
        bool task = false;      ///< the host may go on in the background
    };

    KitThread thread_;
    std::weak_ptr<AmbrelSDKDelegate> delegate_;
    std::shared_ptr<BluetoothDevicesProvider> bluetoothDevicesProvider_;
    std::shared_ptr<LocationProvider> locationProvider_;
    std::shared_ptr<NearbyDevicesProvider> nearbyDevicesProvider_;
    TimerFactory timerFactory_;
    std::shared_ptr<NotificationCenter> notificationCenter_;
    std::shared_ptr<BackgroundTaskScheduler> taskScheduler_;
    std::shared_ptr<Timer> timer_;
    std::shared_ptr<ScanningBackgroundSuspender> scanningSuspender_;
    Lasting beforeStart_; ///< what a start that fails goes back to; a host's call in it counts
    std::shared_ptr<DataStore> store_;
};

} // namespace AmbrelKit

#endif
