#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_NETSERVICEBROWSERFACTORY_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_NETSERVICEBROWSERFACTORY_HPP

#include "AmbrelKit/Platform/NetServiceBrowser.hpp"

#include <memory>

namespace AmbrelKit::Linux {

class EventLoop;

/// Makes browsers that search through avahi-daemon where it owns its name on the system bus and
/// serves, else through Avahi's embedded stack, driven by `loop`. They are used on the loop's
/// thread. Without either (or in a build without Avahi) they find nothing.
[[nodiscard]] NetServiceBrowserFactory
makeNetServiceBrowserFactory(const std::shared_ptr<EventLoop>& loop);

} // namespace AmbrelKit::Linux

#endif
