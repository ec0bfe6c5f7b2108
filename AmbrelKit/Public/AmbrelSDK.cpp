#include <AmbrelKit/AmbrelSDK.hpp>

#include "AmbrelKit/Internal/Models/CollectionThreshold.hpp"
#include "AmbrelKit/Public/Facade.hpp"

#include <utility>

namespace AmbrelKit {

namespace {

constexpr std::int64_t greatestThreshold = 30;

} // namespace

AmbrelSDKDelegate::AmbrelSDKDelegate(const JSONDictionary* /*none*/) {}

std::shared_ptr<AmbrelSDK>
AmbrelSDK::create(std::optional<std::vector<std::string>> bonjourServices,
                  BluetoothManagerFactory bluetoothManagerFactory,
                  LocationManagerFactory locationManagerFactory,
                  NetServiceBrowserFactory netServiceBrowserFactory, TimerFactory timerFactory,
                  std::shared_ptr<NotificationCenter> notificationCenter,
                  std::shared_ptr<Application> application) {
    auto facade = std::make_shared<Facade>(
        std::move(bonjourServices), std::move(bluetoothManagerFactory),
        std::move(locationManagerFactory), std::move(netServiceBrowserFactory),
        std::move(timerFactory), std::move(notificationCenter), std::move(application));
    facade->registerAsDelegate();
    return facade;
}

Facade::Facade(std::optional<std::vector<std::string>> bonjourServices,
               BluetoothManagerFactory bluetoothManagerFactory,
               LocationManagerFactory locationManagerFactory,
               NetServiceBrowserFactory netServiceBrowserFactory, TimerFactory timerFactory,
               std::shared_ptr<NotificationCenter> notificationCenter,
               std::shared_ptr<Application> application)
    : bluetoothDevicesProvider_(
          std::make_shared<BluetoothDevicesProvider>(std::move(bluetoothManagerFactory))),
      locationProvider_(std::make_shared<LocationProvider>(std::move(locationManagerFactory))),
      nearbyDevicesProvider_(std::make_shared<NearbyDevicesProvider>(
          std::move(bonjourServices), std::move(netServiceBrowserFactory))),
      timerFactory_(std::move(timerFactory)), notificationCenter_(std::move(notificationCenter)),
      taskScheduler_(std::make_shared<BackgroundTaskScheduler>(std::move(application))) {}

void Facade::registerAsDelegate() {
    PermissionsHelper::setPermissionsDelegate(weak_from_this());
    bluetoothDevicesProvider_->setDelegate(weak_from_this());
    locationProvider_->setDelegate(weak_from_this());
    nearbyDevicesProvider_->setDelegate(weak_from_this());
}

std::shared_ptr<const Facade> Facade::entered() const {
    thread_.check();
    return shared_from_this();
}

std::shared_ptr<AmbrelSDKDelegate> Facade::delegate() const {
    thread_.check();
    return delegate_.lock();
}

void Facade::setDelegate(std::weak_ptr<AmbrelSDKDelegate> delegate) {
    thread_.check();
    delegate_ = std::move(delegate);
}

void Facade::startScanning() {
    const auto keep = entered();
    store()->sendEvent(DataEvents::scan{ScanningMode::automatic});
}

void Facade::startScanningOnce() {
    const auto keep = entered();
    store()->sendEvent(DataEvents::scan{ScanningMode::once});
}

void Facade::completeScanning() {
    const auto keep = entered();
    beforeStart_.task = false;
    taskScheduler_->endBackgroundTask();
}

void Facade::stopScanning() {
    const auto keep = entered();
    beforeStart_ = {};
    stop();
    scanningSuspender()->disable();
    taskScheduler_->endBackgroundTask();
}

void Facade::automaticModeForNotificationAndBackgroundTask() {
    const auto keep = entered();
    beforeStart_ = {.automatic = true, .task = true};
    configureResumeAndSuspendScanning(ScanningMode::automatic);
    configureBackgroundTask(ScanningMode::automatic);
}

void Facade::setAmbrelTimeThreshold(std::int64_t seconds) {
    thread_.check();
    if (seconds < 0 || seconds > greatestThreshold) {
        throw AmbrelError(AmbrelError::invalidThresholdValue);
    }
    CollectionThreshold::value = seconds;
}

bool Facade::setAmbrelTimeThreshold(std::int64_t seconds, AmbrelErrorObject* error) noexcept {
    try {
        setAmbrelTimeThreshold(seconds);
        return true;
    } catch (const AmbrelError& thrown) {
        if (error != nullptr) {
            *error = {.domain = "AmbrelKit.AmbrelError",
                      .code = static_cast<int>(thrown.error()),
                      .description = thrown.what()};
        }
        return false;
    }
}

std::optional<std::size_t> Facade::historyLimit() const {
    thread_.check();
    return store_ ? store_->state().collectedData.limit() : std::nullopt;
}

void Facade::setHistoryLimit(std::optional<std::size_t> limit) {
    thread_.check();
    store()->limitHistory(limit);
}

void Facade::didDiscoverPeripheral(const BluetoothPeripheral& peripheral) {
    store()->sendEvent(DataEvents::didDiscoverBluetoothPeripheral{peripheral});
}

void Facade::locationProviderDidUpdateLocation(const Location& location) {
    store()->sendEvent(DataEvents::didUpdateLocation{location});
}

void Facade::didFindNearbyDevice(const NearbyDevice& device) {
    store()->sendEvent(DataEvents::didDiscoverNearbyDevice{device});
}

AmbrelPermissionStatus Facade::answer(AmbrelPermissionStatus (AmbrelSDKDelegate::*query)()) const {
    const auto host = delegate();
    return host ? (host.get()->*query)() : AmbrelPermissionStatus::unknown;
}

AmbrelPermissionStatus Facade::bluetoothSettingStatus() {
    return answer(&AmbrelSDKDelegate::bluetoothSettingStatus);
}

AmbrelPermissionStatus Facade::bluetoothPermissionStatus() {
    return answer(&AmbrelSDKDelegate::bluetoothPermissionStatus);
}

AmbrelPermissionStatus Facade::locationSettingStatus() {
    return answer(&AmbrelSDKDelegate::locationSettingStatus);
}

AmbrelPermissionStatus Facade::locationPermissionStatus() {
    return answer(&AmbrelSDKDelegate::locationPermissionStatus);
}

AmbrelPermissionStatus Facade::locationPrecisePermissionStatus() {
    return answer(&AmbrelSDKDelegate::locationPrecisePermissionStatus);
}

AmbrelPermissionStatus Facade::networkSettingStatus() {
    return answer(&AmbrelSDKDelegate::networkSettingStatus);
}

AmbrelPermissionStatus Facade::networkPermissionStatus() {
    return answer(&AmbrelSDKDelegate::networkPermissionStatus);
}

std::shared_ptr<DataStore> Facade::store() {
    if (!store_) {
        store_ = std::make_shared<DataStore>(State::initialState(), std::make_shared<DataReducer>(),
                                             environment());
    }
    return store_;
}

std::shared_ptr<ScanningBackgroundSuspender> Facade::scanningSuspender() {
    if (!scanningSuspender_) {
        scanningSuspender_ =
            std::make_shared<ScanningBackgroundSuspender>(store(), notificationCenter_);
    }
    return scanningSuspender_;
}

} // namespace AmbrelKit
