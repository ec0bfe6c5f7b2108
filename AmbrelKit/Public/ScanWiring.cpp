#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Public/Facade.hpp"

namespace AmbrelKit {

namespace {

constexpr double tickInterval = 1.0; // seconds

bool isGranted(AmbrelPermissionStatus status) { return status == AmbrelPermissionStatus::granted; }

} // namespace

DataEnvironment Facade::environment() {
    return {.startScan =
                [weak = weak_from_this()](ScanningMode mode) {
                    if (const auto facade = weak.lock()) {
                        facade->start(mode);
                    }
                },
            .stopScan =
                [weak = weak_from_this()] {
                    if (const auto facade = weak.lock()) {
                        facade->stop();
                    }
                },
            .notifyDelegate =
                [weak = weak_from_this()](const JSONDictionary& data) {
                    if (const auto facade = weak.lock()) {
                        facade->notifyDelegate(data);
                    }
                }};
}

/// Asks this facade's own delegate, and stops at the first permission that is granted.
bool Facade::allowScanning() const {
    const auto host = delegate();
    return host && (isGranted(host->bluetoothPermissionStatus()) ||
                    isGranted(host->locationPermissionStatus()) ||
                    isGranted(host->networkPermissionStatus()));
}

void Facade::start(ScanningMode mode) {
    if (!allowScanning()) {
        deliverEmptyRecord();
        return;
    }
    configureTimer();
    configureResumeAndSuspendScanning(mode);
    configureBackgroundTask(mode);
    if (isGranted(PermissionsHelper::bluetoothPermissionStatus())) {
        bluetoothDevicesProvider_->start();
    }
    if (isGranted(PermissionsHelper::locationPermissionStatus())) {
        locationProvider_->start();
    }
    if (isGranted(PermissionsHelper::networkPermissionStatus())) {
        nearbyDevicesProvider_->start();
    }
}

/// The permissions are asked anew: nothing remembers what was started.
void Facade::stop() {
    if (timer_) {
        timer_->invalidate();
    }
    if (isGranted(PermissionsHelper::bluetoothPermissionStatus())) {
        bluetoothDevicesProvider_->stop();
    }
    if (isGranted(PermissionsHelper::locationPermissionStatus())) {
        locationProvider_->stop();
    }
    if (isGranted(PermissionsHelper::networkPermissionStatus())) {
        nearbyDevicesProvider_->stop();
    }
}

void Facade::notifyDelegate(const JSONDictionary& data) const {
    if (const auto host = delegate()) {
        host->didReceiveUpdateWithCollectedData(data);
    }
}

void Facade::deliverEmptyRecord() const {
    const UUID uuid = Environment::shared().generateUUID();
    const auto record = AmbrelData::new_(uuid, Environment::shared().currentDate());
    notifyDelegate(JSONEncoder::serialize(record).value_or(JSONDictionary()));
}

void Facade::configureTimer() {
    if (timer_) {
        timer_->invalidate();
    }
    timer_ = timerFactory_(tickInterval, true, [weak = weak_from_this()](Timer&) {
        if (const auto facade = weak.lock()) {
            facade->sendTimerTickEvent();
        }
    });
}

void Facade::sendTimerTickEvent() {
    auto addressIPv4 = NetworkEnvironment::shared().addressIPv4();
    auto info = NetworkEnvironment::shared().networkInfo();
    store()->sendEvent(
        DataEvents::timerDidTick{{.addressIPv4 = std::move(addressIPv4), .info = std::move(info)}});
}

void Facade::configureResumeAndSuspendScanning(ScanningMode mode) {
    switch (mode) {
    case ScanningMode::automatic:
        scanningSuspender()->enable();
        break;
    case ScanningMode::once:
        scanningSuspender()->disable();
        break;
    }
}

void Facade::configureBackgroundTask(ScanningMode mode) {
    switch (mode) {
    case ScanningMode::automatic:
        taskScheduler_->beginBackgroundTask();
        break;
    case ScanningMode::once:
        taskScheduler_->endBackgroundTask();
        break;
    }
}

} // namespace AmbrelKit
