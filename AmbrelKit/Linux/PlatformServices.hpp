#ifndef AMBRELKIT_LINUX_PLATFORMSERVICES_HPP
#define AMBRELKIT_LINUX_PLATFORMSERVICES_HPP

#include "AmbrelKit/Linux/Location/LocationOptions.hpp"
#include "AmbrelKit/Linux/NearbyDevices/MDNSStack.hpp"
#include "AmbrelKit/Platform/Export.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

/// What `AmbrelSDK::create()` stands on here. A host that wants one part otherwise replaces that
/// and hands all of them to `create(services)`.
struct PlatformServices {
    /// The main bundle's list of DNS-SD service types.
    std::optional<std::vector<std::string>> bonjourServices;
    /// Makes one at each start that may use Bluetooth; so do the next two for location and
    /// services.
    BluetoothManagerFactory bluetoothManagerFactory;
    /// See `LocationManagerFactory`.
    LocationManagerFactory locationManagerFactory;
    /// See `NetServiceBrowserFactory`.
    NetServiceBrowserFactory netServiceBrowserFactory;
    /// Makes the ticks of a collection.
    TimerFactory timerFactory;
    /// Tells of resumes and sessions.
    std::shared_ptr<NotificationCenter> notificationCenter;
    /// Delays sleep while a background task is open.
    std::shared_ptr<Application> application;
};

/// This machine's services, driven by the calling thread's `RunLoop`; what they make is used on
/// this thread. Sources that were left out of the build stay silent. The first call of a process
/// also makes the kit's clock and network queries this machine's own, unless they have been
/// replaced before. The timers are for collections: while one is scheduled, the clock is steady.
/// What the application object has begun for a kit ends with the last kit that holds it. Nothing is
/// asked of any daemon yet. `location` says where fixes come from, and to whom, `mdns` by what
/// services are found. Throws std::system_error when there is no loop, as `RunLoop::current()`
/// does, and std::invalid_argument for a gpsd address that is not numeric.
AMBRELKIT_API PlatformServices platformServices(const LocationOptions& location = {},
                                                MDNSStack mdns = MDNSStack::automatic);

/// A facade on these services: the designated constructor with each of them, none of which may be
/// empty or null but the list of types.
AMBRELKIT_API std::shared_ptr<AmbrelSDK> create(PlatformServices services);

} // namespace AmbrelKit::Linux

#endif
