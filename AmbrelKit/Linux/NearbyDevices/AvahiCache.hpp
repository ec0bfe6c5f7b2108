#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_AVAHICACHE_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_AVAHICACHE_HPP

#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"

#include <cstddef>
#include <map>
#include <utility>

namespace AmbrelKit::Linux {

/// How full the cache of an avahi-daemon may be, by what it tells. It keeps a number of records for
/// each interface and protocol, drops what comes beyond that, and tells nobody.
class AvahiCache {
public:
    /// By interface and protocol.
    using Places = std::map<std::pair<int, int>, std::size_t>;

    /// Counts a sighting of a browser. True when there may be services that the daemon has dropped.
    [[nodiscard]] bool count(const Sighting& sighting, Places& ofBrowser);

    /// Takes back what a browser that goes has counted.
    void forget(const Places& ofBrowser);

private:
    Places services_;
    std::size_t fits_ = 0; ///< services at a place, surely; 0: not known yet
};

} // namespace AmbrelKit::Linux

#endif
