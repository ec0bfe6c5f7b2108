#ifndef AMBRELKIT_LINUX_LOCATION_LOCATIONSOURCE_HPP
#define AMBRELKIT_LINUX_LOCATION_LOCATIONSOURCE_HPP

#include "AmbrelKit/Linux/Location/LocationOptions.hpp"
#include "AmbrelKit/Platform/LocationManager.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

namespace AmbrelKit::Linux {

class EventLoop;
class LocationSource;

/// Owns a source, and may drop it inside these calls.
class LocationSourceOwner {
public:
    virtual ~LocationSourceOwner() = default;
    /// Its condition is another.
    virtual void sourceDidChange(LocationSource& source) = 0;
    /// `fixes` are on Earth, oldest first, at least one.
    virtual void sourceDidFix(LocationSource& source, std::vector<LocationFix> fixes) = 0;
};

/// Who determines locations. It is asked from the making of the source on; dropping the source
/// ends that.
class LocationSource {
public:
    LocationSource() = default;
    LocationSource(const LocationSource&) = delete;
    LocationSource& operator=(const LocationSource&) = delete;
    virtual ~LocationSource() = default;

    /// `starting` until there is an answer, `unavailable` also while none has come in time,
    /// `refused` when this program is not served, `listening` while it is, with a reason for as
    /// long as there is no fix.
    [[nodiscard]] virtual SourceCondition condition() const = 0;
};

/// Makes a source and begins to ask its daemon. Nothing is told to `owner` inside the call.
using LocationSourceFactory =
    std::function<std::shared_ptr<LocationSource>(std::weak_ptr<LocationSourceOwner> owner)>;

/// The two daemons. Absent when it was left out of the build.
LocationSourceFactory geoClueFactory(const std::shared_ptr<EventLoop>& loop,
                                     const LocationOptions& options);
LocationSourceFactory gpsdFactory(const std::shared_ptr<EventLoop>& loop,
                                  const LocationOptions& options);

/// What the options choose of what is in this build.
struct ChosenSource {
    LocationSourceFactory make; ///< absent when there is none
    bool asksPermission = false;
    SourceCondition instead = {}; ///< of none: idle when it was so chosen, or left out
};
ChosenSource chosenSource(const std::shared_ptr<EventLoop>& loop, const LocationOptions& options);

/// Whether a daemon's coordinate is one: anything else is dropped where it enters.
inline bool isOnEarth(const LocationCoordinate& coordinate) {
    return std::abs(coordinate.latitude) <= 90 && std::abs(coordinate.longitude) <= 180;
}

} // namespace AmbrelKit::Linux

#endif
