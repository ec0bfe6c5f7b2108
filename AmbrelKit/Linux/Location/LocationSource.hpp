#ifndef AMBRELKIT_LINUX_LOCATION_LOCATIONSOURCE_HPP
#define AMBRELKIT_LINUX_LOCATION_LOCATIONSOURCE_HPP

#include "AmbrelKit/Linux/Location/LocationOptions.hpp"
#include "AmbrelKit/Platform/LocationManager.hpp"

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

class EventLoop;
class LocationSource;

/// Owns a source, and may drop it inside these calls.
class LocationSourceOwner {
public:
    virtual ~LocationSourceOwner() = default;
    virtual void sourceDidChange(LocationSource& source) = 0;
    /// `fixes` are on Earth, oldest first, at least one.
    virtual void sourceDidFix(LocationSource& source, std::vector<LocationFix> fixes) = 0;
};

/// Who determines locations. It is asked from the making of the source on; dropping the source
/// ends that.
class LocationSource {
public:
    enum class State {
        asking,  ///< no answer yet
        silent,  ///< no answer in time; it may still come
        absent,  ///< there is no such daemon, or it fails
        refused, ///< it does not serve this program
        ready,   ///< it serves, or has served and is awaited
    };

    LocationSource() = default;
    LocationSource(const LocationSource&) = delete;
    LocationSource& operator=(const LocationSource&) = delete;
    virtual ~LocationSource() = default;

    [[nodiscard]] virtual State state() const = 0;

    /// Whose fixes it gives now: `geoClue` or `gpsd`.
    [[nodiscard]] virtual LocationSourceKind kind() const = 0;

    /// What it waits for, or why it does not serve, for people. May be empty.
    [[nodiscard]] virtual std::string reason() const { return {}; }
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
};
ChosenSource chosenSource(const std::shared_ptr<EventLoop>& loop, const LocationOptions& options);

/// Whether a daemon's coordinate is one: anything else is dropped where it enters.
inline bool isOnEarth(const LocationCoordinate& coordinate) {
    return std::abs(coordinate.latitude) <= 90 && std::abs(coordinate.longitude) <= 180;
}

} // namespace AmbrelKit::Linux

#endif
