#ifndef AMBRELKIT_INTERNAL_LOGIC_LOCATIONPROVIDER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_LOCATIONPROVIDER_HPP

#include "AmbrelKit/Internal/Models/Location.hpp"
#include "AmbrelKit/Platform/LocationManager.hpp"

#include <memory>

namespace AmbrelKit {

/// Receives the provider's fixes.
class LocationProviderDelegate {
public:
    virtual ~LocationProviderDelegate() = default;
    virtual void locationProviderDidUpdateLocation(const Location& location) = 0;
};

/// Asks for the permission to use the location where the user has not decided yet, and reports the
/// newest fix of each update.
class LocationProvider final : public LocationManagerDelegate,
                               public std::enable_shared_from_this<LocationProvider> {
public:
    explicit LocationProvider(LocationManagerFactory locationManagerFactory);

    void setDelegate(std::weak_ptr<LocationProviderDelegate> delegate);

    /// Takes a new manager; what happens then depends on the authorisation that it reports.
    void start();
    /// Ends the updates. The manager stays until the next start.
    void stop();

    void locationManagerDidChangeAuthorizationStatus(LocationManager& manager,
                                                     LocationAuthorizationStatus status) override;
    void locationManagerDidUpdateLocations(LocationManager& manager,
                                           const std::vector<LocationFix>& locations) override;
    void locationManagerDidFailWithError(LocationManager& manager,
                                         const std::string& error) override;

private:
    /// The manager in use, made when there is none yet.
    std::shared_ptr<LocationManager> locationManager();

    std::weak_ptr<LocationProviderDelegate> delegate_;
    LocationManagerFactory locationManagerFactory_;
    std::shared_ptr<LocationManager> locationManager_;
};

} // namespace AmbrelKit

#endif
