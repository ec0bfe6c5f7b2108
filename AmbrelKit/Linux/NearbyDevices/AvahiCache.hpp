#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_AVAHICACHE_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_AVAHICACHE_HPP

#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace AmbrelKit::Linux {

/// How full the cache of an avahi-daemon may be, by what it tells. It keeps a number of records for
/// each interface and protocol, drops what comes beyond that, and tells nobody.
class AvahiCache {
public:
    using Place = std::pair<int, int>; ///< interface and protocol

    /// What one browser is told, counted for as long as this lives.
    class Browser {
    public:
        Browser(AvahiCache& cache, std::string type);
        ~Browser();
        Browser(const Browser&) = delete;
        Browser& operator=(const Browser&) = delete;

        /// True when there may be services that the daemon has dropped.
        [[nodiscard]] bool count(const Sighting& sighting);

    private:
        friend class AvahiCache;
        AvahiCache& cache_;
        std::string type_;
        std::map<Place, std::size_t> told_;
    };

private:
    [[nodiscard]] bool isCrowded(const Place& place);
    [[nodiscard]] std::size_t services(const Place& place) const;

    std::set<const Browser*> browsers_;
    std::map<Place, std::size_t> told_; ///< all browsers: at least what there is
    std::size_t fits_ = 0;              ///< services at a place, surely; 0: not known yet
};

} // namespace AmbrelKit::Linux

#endif
