#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIANSWERS_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIANSWERS_HPP

#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"

#include <systemd/sd-bus.h>

namespace AmbrelKit::Linux {

// What avahi-daemon answers on the bus. An error, or what is of other types than it should be, is
// nothing.

/// To ResolveService.
std::optional<ServiceRecord> readService(sd_bus_message* reply, bool withTXT);

/// To ResolveHostName.
std::optional<HostAddress> readAddress(sd_bus_message* reply);

} // namespace AmbrelKit::Linux

#endif
