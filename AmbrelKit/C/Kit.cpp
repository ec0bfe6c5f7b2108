#include "AmbrelKit/C/Kit.hpp"

#include <optional>

using namespace AmbrelKit;

namespace {

/// A callback may give the kit back: its facade is held until the operation is done.
int operate(ambrel_kit* kit, ambrel_error* error, void (AmbrelSDK::*operation)()) noexcept {
    return C::edge(error, [&] {
        const auto sdk = C::required(kit).sdk;
        (sdk.get()->*operation)();
    });
}

} // namespace

extern "C" {

ambrel_kit* ambrel_kit_ref(ambrel_kit* kit) { return C::reference(kit); }

ambrel_kit* ambrel_kit_unref(ambrel_kit* kit) { return C::unreference(kit); }

int ambrel_kit_set_delegate(ambrel_kit* kit, const ambrel_delegate* delegate, ambrel_error* error) {
    return C::edge(error, [&] {
        const auto sdk = C::required(kit).sdk;
        std::shared_ptr<C::Delegate> next;
        if (delegate != nullptr) {
            next = std::make_shared<C::Delegate>(*delegate);
        }
        sdk->setDelegate(next);
        kit->delegate.swap(next); // and what goes now may call back
    });
}

void* ambrel_kit_delegate_context(const ambrel_kit* kit) {
    return kit != nullptr && kit->delegate ? kit->delegate->context() : nullptr;
}

int ambrel_kit_start_scanning(ambrel_kit* kit, ambrel_error* error) {
    return operate(kit, error, &AmbrelSDK::startScanning);
}

int ambrel_kit_start_scanning_once(ambrel_kit* kit, ambrel_error* error) {
    return operate(kit, error, &AmbrelSDK::startScanningOnce);
}

int ambrel_kit_complete_scanning(ambrel_kit* kit, ambrel_error* error) {
    return operate(kit, error, &AmbrelSDK::completeScanning);
}

int ambrel_kit_stop_scanning(ambrel_kit* kit, ambrel_error* error) {
    return operate(kit, error, &AmbrelSDK::stopScanning);
}

int ambrel_kit_automatic_mode_for_notification_and_background_task(ambrel_kit* kit,
                                                                   ambrel_error* error) {
    return operate(kit, error, &AmbrelSDK::automaticModeForNotificationAndBackgroundTask);
}

int ambrel_kit_set_time_threshold(ambrel_kit* kit, int64_t seconds, ambrel_error* error) {
    return C::edge(error, [&] { C::required(kit).sdk->setAmbrelTimeThreshold(seconds); });
}

int ambrel_kit_set_history_limit(ambrel_kit* kit, size_t limit, ambrel_error* error) {
    return C::edge(error, [&] {
        C::required(kit).sdk->setHistoryLimit(limit > 0 ? std::optional(limit) : std::nullopt);
    });
}

size_t ambrel_kit_history_limit(const ambrel_kit* kit) {
    return kit != nullptr ? kit->sdk->historyLimit().value_or(0) : 0;
}
}
