#ifndef AMBRELKIT_INTERNAL_LOGIC_SCANNINGBACKGROUNDSUSPENDER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_SCANNINGBACKGROUNDSUSPENDER_HPP

#include "AmbrelKit/Internal/Logic/DataStore.hpp"
#include "AmbrelKit/Platform/NotificationCenter.hpp"

#include <memory>

namespace AmbrelKit {

/// While enabled, asks the store for an automatic collection each time the application becomes
/// active.
class ScanningBackgroundSuspender final
    : public std::enable_shared_from_this<ScanningBackgroundSuspender> {
public:
    ScanningBackgroundSuspender(std::shared_ptr<DataStore> store,
                                std::shared_ptr<NotificationCenter> notificationCenter);
    ScanningBackgroundSuspender(const ScanningBackgroundSuspender&) = delete;
    ScanningBackgroundSuspender& operator=(const ScanningBackgroundSuspender&) = delete;
    ~ScanningBackgroundSuspender();

    /// Leaves exactly one observer, however often it is called.
    void enable();
    void disable();
    [[nodiscard]] bool isEnabled() const { return observer_ != nullptr; }

private:
    std::shared_ptr<DataStore> store_;
    std::shared_ptr<NotificationCenter> notificationCenter_;
    std::shared_ptr<NotificationObserver> observer_; ///< while enabled
};

} // namespace AmbrelKit

#endif
