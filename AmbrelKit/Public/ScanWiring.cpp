#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"
#include "AmbrelKit/Public/Facade.hpp"

namespace AmbrelKit {

namespace {

constexpr double tickInterval = 1.0; // seconds

ScanningMode modeWhere(bool automatic) {
    return automatic ? ScanningMode::automatic : ScanningMode::once;
}

bool isGranted(AmbrelPermissionStatus status) { return status == AmbrelPermissionStatus::granted; }

} // namespace

DataEnvironment Facade::environment() {
    return {.startScan = weakly(weak_from_this(), &Facade::start),
            .stopScan = weakly(weak_from_this(), &Facade::stop),
            .notifyDelegate = weakly(weak_from_this(), &Facade::notifyDelegate)};
}

/// Asks this facade's own delegate, and stops at the first permission that is granted.
bool Facade::allowScanning() {
    return isGranted(bluetoothPermissionStatus()) || isGranted(locationPermissionStatus()) ||
           isGranted(networkPermissionStatus());
}

void Facade::start(ScanningMode mode) {
    if (!allowScanning()) {
        deliverEmptyRecord();
        return;
    }
    beforeStart_ = {.automatic = scanningSuspender()->isEnabled(),
                    .task = taskScheduler_->holdsTask()};
    std::vector<std::function<void()>> stops; // of the sources that were told to start
    const auto startIfGranted = [&stops](AmbrelPermissionStatus status, auto& source) {
        if (isGranted(status)) {
            stops.emplace_back([&source] { source.stop(); });
            source.start();
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
        const auto before = beforeStart_;
        configureResumeAndSuspendScanning(modeWhere(before.automatic));
        if (taskScheduler_->holdsTask() != before.task) {
            configureBackgroundTask(modeWhere(before.task));
        }
        for (const auto& stop : stops) { // last, since the one that has failed may fail again
            stop();
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
    if (const auto timer = timer_) {
        timer->invalidate();
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
    if (mode == ScanningMode::automatic) {
        scanningSuspender()->enable();
    } else {
        scanningSuspender()->disable();
    }
}

void Facade::configureBackgroundTask(ScanningMode mode) {
    if (mode == ScanningMode::automatic) {
        taskScheduler_->beginBackgroundTask();
    } else {
        taskScheduler_->endBackgroundTask();
    }
}

} // namespace AmbrelKit
