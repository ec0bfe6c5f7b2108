#include "AmbrelKit/Internal/Logic/ScanningBackgroundSuspender.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit {

ScanningBackgroundSuspender::ScanningBackgroundSuspender(
    std::shared_ptr<DataStore> store, std::shared_ptr<NotificationCenter> notificationCenter)
    : store_(std::move(store)), notificationCenter_(std::move(notificationCenter)) {}

ScanningBackgroundSuspender::~ScanningBackgroundSuspender() { removeAllObservers(); }

void ScanningBackgroundSuspender::enable() {
    removeAllObservers();
    addObserver(ApplicationDidBecomeActiveNotification, DataEvents::scan{ScanningMode::automatic});
}

void ScanningBackgroundSuspender::disable() { removeAllObservers(); }

void ScanningBackgroundSuspender::addObserver(std::string_view name, const DataEvent& event) {
    const auto send = [event](ScanningBackgroundSuspender& suspender, const Notification&) {
        suspender.store_->sendEvent(event);
    };
    observers_.push_back(
        notificationCenter_->addObserver(std::string(name), weakly(weak_from_this(), send)));
}

void ScanningBackgroundSuspender::removeAllObservers() {
    for (const auto& observer : std::exchange(observers_, {})) {
        notificationCenter_->removeObserver(observer);
    }
}

} // namespace AmbrelKit
