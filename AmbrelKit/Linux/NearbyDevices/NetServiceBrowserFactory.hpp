#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_NETSERVICEBROWSERFACTORY_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_NETSERVICEBROWSERFACTORY_HPP

#include "AmbrelKit/Linux/NearbyDevices/MDNSStack.hpp"
#include "AmbrelKit/Platform/NetServiceBrowser.hpp"

#include <memory>

namespace AmbrelKit::Linux {

class EventLoop;

/// Makes browsers that search by `mdns`, driven by `loop`. They are used on the loop's thread.
/// Where that is not there (or in a build without Avahi) they find nothing.
[[nodiscard]] NetServiceBrowserFactory
makeNetServiceBrowserFactory(const std::shared_ptr<EventLoop>& loop,
                             MDNSStack mdns = MDNSStack::automatic);

} // namespace AmbrelKit::Linux

#endif
