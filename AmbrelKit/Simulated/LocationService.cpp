#include "AmbrelKit/Simulated/LocationService.hpp"

#include <utility>

namespace AmbrelKit::Simulated {

class LocationService::Manager final : public LocationManager {
public:
    Manager(std::shared_ptr<Context> context, std::shared_ptr<Sources> sources)
        : context_(std::move(context)), source_(std::move(sources), Source::location) {}

    [[nodiscard]] std::shared_ptr<LocationManagerDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override {
        delegate_ = std::move(delegate);
        tellSource();
    }

    void requestWhenInUseAuthorization() override {
        context_->report("location", "requestWhenInUseAuthorization");
    }
    void startUpdatingLocation() override {
        context_->report("location", "startUpdatingLocation");
        updates_ = true;
        tellSource();
    }
    void stopUpdatingLocation() override {
        context_->report("location", "stopUpdatingLocation");
        updates_ = false;
        tellSource();
    }

    void setRefused(bool refused) {
        isRefused_ = refused;
        tellSource();
    }

    void countReport() const { source_.reports(); }

private:
    void tellSource() {
        if (delegate_.expired()) {
            source_.fares({});
        } else if (isRefused_) {
            source_.fares({.state = SourceState::refused,
                           .code = "not-allowed",
                           .reason = "the simulated user refuses the location"});
        } else if (updates_) {
            source_.fares({.state = SourceState::listening, .means = "simulated location"});
        } else {
            source_.fares({.state = SourceState::starting});
        }
    }

    std::shared_ptr<Context> context_;
    Sources::Part source_;
    std::weak_ptr<LocationManagerDelegate> delegate_;
    bool isRefused_ = false;
    bool updates_ = false;
};

LocationService::LocationService(std::shared_ptr<Context> context, std::shared_ptr<Sources> sources)
    : context_(std::move(context)), sources_(std::move(sources)) {}

std::shared_ptr<LocationManager> LocationService::makeManager() {
    context_->report("location", "create");
    auto manager = std::make_shared<Manager>(context_, sources_);
    newest_ = manager;
    return manager;
}

// The reports hold the manager and its delegate: a receiver may let go of either.

void LocationService::reportAuthorization(LocationAuthorizationStatus status) {
    const auto manager = newest_.lock();
    if (const auto delegate = manager ? manager->delegate() : nullptr) {
        manager->setRefused(status == LocationAuthorizationStatus::denied ||
                            status == LocationAuthorizationStatus::restricted);
        delegate->locationManagerDidChangeAuthorizationStatus(*manager, status);
    }
}

void LocationService::reportUpdate(const std::vector<LocationFix>& fixes) {
    const auto manager = newest_.lock();
    if (const auto delegate = manager ? manager->delegate() : nullptr) {
        manager->countReport();
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
