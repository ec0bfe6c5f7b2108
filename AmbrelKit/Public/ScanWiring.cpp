#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"
#include "AmbrelKit/Public/Facade.hpp"

namespace AmbrelKit {

namespace {

constexpr double tickInterval = 1.0; // seconds

bool isGranted(AmbrelPermissionStatus status) { return status == AmbrelPermissionStatus::granted; }

} // namespace

DataEnvironment Facade::environment() {
    return {.startScan = weakly(weak_from_this(), &Facade::start),
            .stopScan = weakly(weak_from_this(), &Facade::stop),
            .notifyDelegate = weakly(weak_from_this(), &Facade::notifyDelegate)};
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
    const bool wasAutomatic = scanningSuspender()->isEnabled();
    const bool hadTask = taskScheduler_->holdsTask();
    std::vector<std::function<void()>> stops; // of the sources that run
    const auto startIfGranted = [&stops](AmbrelPermissionStatus status, auto& source) {
        if (isGranted(status)) {
            source.start();
            stops.emplace_back([&source] { source.stop(); });
        }
    };
    try {
        configureTimer();
        configureResumeAndSuspendScanning(mode);
        configureBackgroundTask(mode);
        startIfGranted(PermissionsHelper::bluetoothPermissionStatus(), *bluetoothDevicesProvider_);
        startIfGranted(PermissionsHelper::locationPermissionStatus(), *locationProvider_);
        startIfGranted(PermissionsHelper::networkPermissionStatus(), *nearbyDevicesProvider_);
    } catch (...) { // most likely from the host that was asked: nothing has been started then
        invalidateTimer();
        for (const auto& stop : stops) {
            stop();
        }
        configureResumeAndSuspendScanning(wasAutomatic ? ScanningMode::automatic
                                                       : ScanningMode::once);
        if (taskScheduler_->holdsTask() != hadTask) {
            configureBackgroundTask(hadTask ? ScanningMode::automatic : ScanningMode::once);
        }
        throw;
    }
}

/// The permissions are asked anew: nothing remembers what was started.
void Facade::stop() {
    invalidateTimer();
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

void Facade::invalidateTimer() {
    if (timer_) {
        timer_->invalidate();
    }
}

void Facade::configureTimer() {
    invalidateTimer();
    timer_ = timerFactory_(tickInterval, true,
                           weakly(weak_from_this(), [](Facade& facade, const Timer& /*timer*/) {
                               facade.sendTimerTickEvent();
                           }));
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
