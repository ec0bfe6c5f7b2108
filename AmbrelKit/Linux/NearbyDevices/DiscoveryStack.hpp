#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_DISCOVERYSTACK_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_DISCOVERYSTACK_HPP

#include "AmbrelKit/Linux/NearbyDevices/DNSSDRecords.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace AmbrelKit::Linux {

/// The loopback's index, the same in every network namespace.
constexpr int loopbackInterface = 1;

/// Browsed as a type of services, it has the types as instances: `_ipp` of `_tcp`.
constexpr const char* metaType = "_services._dns-sd._udp";

/// A service instance in Avahi's notation: no trailing dots, the name as it is on the wire.
struct ServiceName {
    std::string name;
    std::string type;
    std::string domain;
};

/// An instance that came or went on one interface by one protocol.
struct Sighting {
    ServiceName service;
    int interface = 0;
    int protocol = 0;
    bool present = true;
};

/// Where an instance is served.
struct ServiceRecord {
    std::string host;
    std::uint16_t port = 0;
    std::optional<std::string> txt;
};

/// Something that was asked for. Dropping it ends it, also inside its own callback.
class Lookup {
public:
    Lookup() = default;
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;
    virtual ~Lookup() = default;
};

/// What a stack that speaks multicast DNS is asked for. Nothing calls back inside a call; each
/// callback may throw, drop any lookup, and drop the stack. A lookup keeps its stack.
class DiscoveryStack {
public:
    DiscoveryStack() = default;
    DiscoveryStack(const DiscoveryStack&) = delete;
    DiscoveryStack& operator=(const DiscoveryStack&) = delete;
    virtual ~DiscoveryStack() = default;

    using Sighted = std::function<void(const Sighting&)>;
    using Served = std::function<void(std::optional<ServiceRecord>)>;
    using Addressed = std::function<void(std::optional<HostAddress>)>;

    /// Reports instances of a type; an empty domain stands for the default one.
    [[nodiscard]] virtual std::shared_ptr<Lookup>
    browse(const std::string& type, const std::string& domain, Sighted sighted) = 0;

    /// Answers once, with nothing when some seconds brought no answer. A service that has no TXT
    /// record at all only answers when it is asked for without.
    [[nodiscard]] virtual std::shared_ptr<Lookup> resolve(const ServiceName& service, int interface,
                                                          bool withTXT, Served served) = 0;

    /// Answers once, with nothing when some seconds brought no answer. `family` is AF_INET or
    /// AF_INET6.
    [[nodiscard]] virtual std::shared_ptr<Lookup>
    findAddress(const std::string& host, int interface, int family, Addressed addressed) = 0;
};

} // namespace AmbrelKit::Linux

#endif
