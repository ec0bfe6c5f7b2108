#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_MDNSSTACK_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_MDNSSTACK_HPP

#include <cstdint>

namespace AmbrelKit::Linux {

/// Whose multicast DNS finds services.
enum class MDNSStack : std::uint8_t {
    /// avahi-daemon's where it serves and surely keeps all that there is, else the embedded one.
    automatic,
    /// avahi-daemon's alone: without it no service is found, and the source's report says why.
    daemon,
    /// Avahi's stack in this process alone, which speaks to the network itself. No daemon is asked,
    /// nor the bus for one.
    embedded,
};

} // namespace AmbrelKit::Linux

#endif
