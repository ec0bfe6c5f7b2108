#ifndef AMBRELKIT_PLATFORM_LOCATIONMANAGER_HPP
#define AMBRELKIT_PLATFORM_LOCATIONMANAGER_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit {

class LocationManager;

/// Whether the user lets this program use the location. A platform may report other numbers; they
/// mean nothing.
enum class LocationAuthorizationStatus : int {
    notDetermined = 0,       ///< the user has not been asked, or has not answered
    restricted = 1,          ///< not allowed, and not for the user to decide
    denied = 2,              ///< refused
    authorizedAlways = 3,    ///< allowed
    authorizedWhenInUse = 4, ///< allowed while this program is in use
};

/// A place on the WGS 84 ellipsoid, in finite degrees: a record that holds any other has no JSON
/// form, and its collection is not delivered.
struct LocationCoordinate {
    /// Degrees north, -90 to 90.
    double latitude = 0;
    /// Degrees east, -180 to 180.
    double longitude = 0;
};

/// One fix as the platform determined it.
struct LocationFix {
    /// Where.
    LocationCoordinate coordinate;
    /// When the platform determined the fix, not when it reported it.
    std::chrono::system_clock::time_point timestamp;

    /// In metres, finite, as the next two: the place is likely to be no further away than that. No
    /// record holds it, nor what follows.
    std::optional<double> horizontalAccuracy = {};
    /// In metres above the mean level of the sea.
    std::optional<double> altitude = {};
    /// In metres, of the altitude.
    std::optional<double> verticalAccuracy = {};
    /// Who determined the fix, as "GeoClue" or "gpsd", valid UTF-8; may be empty.
    std::string determinedBy = {};
};

/// Receives a manager's reports, on the thread that made the manager. The receiver may call the
/// manager, or let go of it, inside a report; what it throws leaves through the run loop.
class AMBRELKIT_API LocationManagerDelegate {
public:
    virtual ~LocationManagerDelegate() = default;

    /// The authorisation has changed, or is told for the first time.
    virtual void
    locationManagerDidChangeAuthorizationStatus(LocationManager& manager,
                                                LocationAuthorizationStatus status) = 0;

    /// New fixes, oldest first.
    virtual void locationManagerDidUpdateLocations(LocationManager& manager,
                                                   const std::vector<LocationFix>& locations) = 0;

    /// A fix could not be had; `error` says why, for people (UTF-8). Updates go on.
    virtual void locationManagerDidFailWithError(LocationManager& manager,
                                                 const std::string& error) = 0;
};

/// Delivers the device's location. Used on one thread, the one that made it. No call waits for the
/// service behind it. Releasing a manager ends its updates.
class AMBRELKIT_API LocationManager {
public:
    virtual ~LocationManager() = default;

    /// The receiver of the reports, or null. Not owned.
    [[nodiscard]] virtual std::shared_ptr<LocationManagerDelegate> delegate() const = 0;

    /// Replaces the receiver. Once it is absent nothing is reported any more. The current
    /// authorisation is reported to a newly set receiver from the run loop, never from inside this
    /// call.
    virtual void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) = 0;

    /// Asks the user for permission to use the location. The answer comes as a change of
    /// authorisation, or never.
    virtual void requestWhenInUseAuthorization() = 0;

    /// Begins to deliver fixes. Starting again while started changes nothing.
    virtual void startUpdatingLocation() = 0;

    /// Ends the updates. Does nothing when none run, or when the service is gone.
    virtual void stopUpdatingLocation() = 0;
};

/// Makes a new manager at each call.
using LocationManagerFactory = std::function<std::shared_ptr<LocationManager>()>;

} // namespace AmbrelKit

#endif
