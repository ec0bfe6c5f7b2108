#include "AmbrelKit/Simulated/LocationService.hpp"

#include <utility>

namespace AmbrelKit::Simulated {

class LocationService::Manager final : public LocationManager {
public:
    explicit Manager(std::shared_ptr<Context> context) : context_(std::move(context)) {}

    [[nodiscard]] std::shared_ptr<LocationManagerDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }

    void requestWhenInUseAuthorization() override {
        context_->report("location", "requestWhenInUseAuthorization");
    }
    void startUpdatingLocation() override { context_->report("location", "startUpdatingLocation"); }
    void stopUpdatingLocation() override { context_->report("location", "stopUpdatingLocation"); }

private:
    std::shared_ptr<Context> context_;
    std::weak_ptr<LocationManagerDelegate> delegate_;
};

LocationService::LocationService(std::shared_ptr<Context> context) : context_(std::move(context)) {}

std::shared_ptr<LocationManager> LocationService::makeManager() {
    context_->report("location", "create");
    auto manager = std::make_shared<Manager>(context_);
    newest_ = manager;
    return manager;
}

// The reports hold the manager and its delegate: a receiver may let go of either.

void LocationService::reportAuthorization(LocationAuthorizationStatus status) {
    const auto manager = newest_.lock();
    if (const auto delegate = manager ? manager->delegate() : nullptr) {
        delegate->locationManagerDidChangeAuthorizationStatus(*manager, status);
    }
}

void LocationService::reportUpdate(const std::vector<LocationFix>& fixes) {
    const auto manager = newest_.lock();
    if (const auto delegate = manager ? manager->delegate() : nullptr) {
        delegate->locationManagerDidUpdateLocations(*manager, fixes);
    }
}

void LocationService::reportFailure(const std::string& error) {
    const auto manager = newest_.lock();
    if (const auto delegate = manager ? manager->delegate() : nullptr) {
        delegate->locationManagerDidFailWithError(*manager, error);
    }
}

} // namespace AmbrelKit::Simulated
