// A source of its own, for a kiosk that stands where it was put up: takes one collection.
// c++ -std=c++20 place.cpp -o place $(pkg-config --cflags --libs ambrelkit)
#include "PrintingHost.hpp"

#include <AmbrelKit/Linux/PlatformServices.hpp>
#include <AmbrelKit/Platform/RunLoop.hpp>

#include <chrono>

using namespace AmbrelKit;

/// Tells one place, each time it is asked to start.
class Standing final : public LocationManager, public std::enable_shared_from_this<Standing> {
public:
    explicit Standing(LocationCoordinate place) : place_(place) {}

    std::shared_ptr<LocationManagerDelegate> delegate() const override { return delegate_.lock(); }
    void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override {
        delegate_ = std::move(delegate);
        later([](Standing& self, LocationManagerDelegate& receiver) {
            receiver.locationManagerDidChangeAuthorizationStatus(
                self, LocationAuthorizationStatus::authorizedAlways);
        });
    }
    void requestWhenInUseAuthorization() override {} // nobody is to be asked
    void startUpdatingLocation() override {
        later([](Standing& self, LocationManagerDelegate& receiver) {
            receiver.locationManagerDidUpdateLocations(
                self, {{.coordinate = self.place_,
                        .timestamp = std::chrono::system_clock::now(),
                        .determinedBy = "its administrator"}});
        });
    }
    void stopUpdatingLocation() override { reports_.clear(); }

private:
    /// Reports come from the loop, never from inside a call; none comes once the manager is gone.
    template <class Report> void later(Report report) {
        reports_.push_back(RunLoop::current()->scheduledTimer(
            0.001, false, [weak = weak_from_this(), report](Timer&) {
                const auto self = weak.lock();
                if (const auto receiver = self ? self->delegate() : nullptr) {
                    report(*self, *receiver);
                }
            }));
    }

    LocationCoordinate place_;
    std::weak_ptr<LocationManagerDelegate> delegate_;
    std::vector<std::shared_ptr<Timer>> reports_;
};

int main() {
    bool isPlaced = false;
    const auto host = std::make_shared<PrintingHost>([&isPlaced](const std::string& json) {
        isPlaced = json.find("locationCollection") != std::string::npos;
        RunLoop::current()->stop();
    });
    auto services = Linux::platformServices();
    services.bonjourServices = {"_ipp._tcp", "_http._tcp"};
    services.locationManagerFactory = [] {
        return std::make_shared<Standing>(
            LocationCoordinate{.latitude = 60.17, .longitude = 24.94});
    };
    const auto kit = Linux::create(std::move(services));
    kit->setDelegate(host);
    kit->startScanningOnce();
    RunLoop::current()->run();
    return isPlaced ? 0 : 1;
}
