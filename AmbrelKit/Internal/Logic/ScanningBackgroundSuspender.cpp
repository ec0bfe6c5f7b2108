#include "AmbrelKit/Internal/Logic/ScanningBackgroundSuspender.hpp"

#include "AmbrelKit/Internal/Extensions/AddObserver.hpp"

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
    auto send = [event, weak = weak_from_this()](const Notification&) {
        if (const auto suspender = weak.lock()) {
            suspender->store_->sendEvent(event);
        }
    };
    observers_.push_back(AmbrelKit::addObserver(*notificationCenter_, name, std::move(send)));
}

void ScanningBackgroundSuspender::removeAllObservers() {
    for (const auto& observer : std::exchange(observers_, {})) {
        notificationCenter_->removeObserver(observer);
    }
}

} // namespace AmbrelKit
