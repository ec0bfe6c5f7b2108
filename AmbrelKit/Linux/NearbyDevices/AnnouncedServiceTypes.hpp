#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_ANNOUNCEDSERVICETYPES_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_ANNOUNCEDSERVICETYPES_HPP

#include "AmbrelKit/Linux/NearbyDevices/MDNSStack.hpp"
#include "AmbrelKit/Platform/Export.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace AmbrelKit::Linux {

/// Stands for every type that is announced, where this platform is asked for services of a type: in
/// a host's "NSBonjourServices", alone or beside types that it wants looked for in any case and at
/// once. Each type is browsed as it appears, by `AnnouncedServiceTypes`.
inline constexpr const char* allServiceTypes = "all";

/// The types of DNS-SD services that the local network says it has: the answers to the standard
/// question for them (RFC 6763, section 9), by the same means as services are searched for. Most
/// responders answer it, but not all; the others' services are found only by who knows their type.
/// Used on one thread, whose `RunLoop` drives it; dropping it ends it.
class AMBRELKIT_API AnnouncedServiceTypes {
public:
    /// So many types are told of, and no more: everybody on the network may announce any number,
    /// and each that is browsed costs questions and memory.
    static constexpr std::size_t most = 256;

    /// `type` is such as `_ipp._tcp`, without a trailing dot.
    using Appeared = std::function<void(const std::string& type)>;

    /// Begins to ask in `domain` ("local"; empty: the platform's own), by `mdns`. `appeared` is
    /// called from the loop, once for each type, in the order in which they appear; types that
    /// differ in ASCII case are one, and what is not a well-formed type is passed over. It may do
    /// anything, also drop this. Without a network, or in a build without DNS-SD, nothing appears.
    /// Throws std::system_error when there is no loop, as `RunLoop::current()` does.
    [[nodiscard]] static std::shared_ptr<AnnouncedServiceTypes>
    start(Appeared appeared, const std::string& domain = {}, MDNSStack mdns = MDNSStack::automatic);

    AnnouncedServiceTypes() = default;
    AnnouncedServiceTypes(const AnnouncedServiceTypes&) = delete;
    AnnouncedServiceTypes& operator=(const AnnouncedServiceTypes&) = delete;
    virtual ~AnnouncedServiceTypes() = default;
};

} // namespace AmbrelKit::Linux

#endif
