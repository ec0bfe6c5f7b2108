#include "AmbrelKit/Internal/Logic/LocationProvider.hpp"

#include <utility>

namespace AmbrelKit {

LocationProvider::LocationProvider(LocationManagerFactory locationManagerFactory)
    : locationManagerFactory_(std::move(locationManagerFactory)) {}

void LocationProvider::setDelegate(std::weak_ptr<LocationProviderDelegate> delegate) {
    delegate_ = std::move(delegate);
}

void LocationProvider::start() {
    locationManager_ = locationManagerFactory_();
    locationManager()->setDelegate(weak_from_this());
}

void LocationProvider::stop() {
    const auto manager = locationManager();
    manager->stopUpdatingLocation();
    manager->setDelegate({});
}

void LocationProvider::locationManagerDidChangeAuthorizationStatus(
    LocationManager& /*manager*/, LocationAuthorizationStatus status) {
    switch (status) {
    case LocationAuthorizationStatus::notDetermined:
        locationManager()->requestWhenInUseAuthorization();
        break;
    case LocationAuthorizationStatus::authorizedAlways:
    case LocationAuthorizationStatus::authorizedWhenInUse:
        locationManager()->startUpdatingLocation();
        break;
    default:
        break;
    }
}

void LocationProvider::locationManagerDidUpdateLocations(
    LocationManager& /*manager*/, const std::vector<LocationFix>& locations) {
    const auto delegate = delegate_.lock();
    if (!delegate || locations.empty()) {
        return;
    }
    const LocationFix& newest = locations.back();
    delegate->locationProviderDidUpdateLocation({.latitude = newest.coordinate.latitude,
                                                 .longitude = newest.coordinate.longitude,
                                                 .timestamp = newest.timestamp});
}

void LocationProvider::locationManagerDidFailWithError(LocationManager& /*manager*/,
                                                       const std::string& /*error*/) {
    // A later fix may still come.
}

std::shared_ptr<LocationManager> LocationProvider::locationManager() {
    if (!locationManager_) {
        locationManager_ = locationManagerFactory_();
    }
    return locationManager_;
}

} // namespace AmbrelKit
