#include "AmbrelKit/Internal/Logic/ScanningBackgroundSuspender.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit {

ScanningBackgroundSuspender::ScanningBackgroundSuspender(
    std::shared_ptr<DataStore> store, std::shared_ptr<NotificationCenter> notificationCenter)
    : store_(std::move(store)), notificationCenter_(std::move(notificationCenter)) {}

ScanningBackgroundSuspender::~ScanningBackgroundSuspender() { disable(); }

void ScanningBackgroundSuspender::enable() {
    disable();
    const auto scan = [](ScanningBackgroundSuspender& suspender, const Notification& /*posted*/) {
        suspender.store_->sendEvent(DataEvents::scan{ScanningMode::automatic});
    };
    observer_ = notificationCenter_->addObserver(
        std::string(ApplicationDidBecomeActiveNotification), weakly(weak_from_this(), scan));
}

void ScanningBackgroundSuspender::disable() {
    if (const auto observer = std::exchange(observer_, nullptr)) {
        notificationCenter_->removeObserver(observer);
    }
}

} // namespace AmbrelKit
