#ifndef AMBRELKIT_LINUX_NETWORK_PRIMARYADDRESS_HPP
#define AMBRELKIT_LINUX_NETWORK_PRIMARYADDRESS_HPP

#include "AmbrelKit/Platform/SourceReport.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace AmbrelKit::Linux {

/// What an interface is to this machine, for the choice of its IPv4 address.
enum class LinkKind {
    none,        ///< loopback, tunnel, dummy, anything else that leads to no network by itself
    port,        ///< a radio, an Ethernet port, a modem, or a VLAN or a bond of ports
    accessPoint, ///< a radio by which others join this machine
    bridge,
    share, ///< of a port, with an address of its own on its network
    pair,  ///< one end of two: how a container is attached
};

/// What the kernel tells of an interface, beside its name: names are the user's to choose.
struct LinkFacts {
    int hardwareType = 0;   ///< ARPHRD_…
    bool hasDevice = false; ///< a piece of hardware (PCI, USB, platform, virtio) stands behind it
    bool isRadio = false;   ///< a cfg80211 radio stands behind it
    bool isAccessPoint = false;
    std::string driver = {}; ///< what ethtool calls the driver; asked only where no hardware is
};

LinkKind linkKind(const LinkFacts& facts);

/// The lowest metric of each interface's default routes.
using DefaultRoutes = std::map<std::string, std::uint32_t, std::less<>>;

/// Reads the kernel's table /proc/net/route. Lines that are no usable default route are passed
/// over.
DefaultRoutes defaultRoutes(std::string_view table);

/// One IPv4 address of an interface.
struct AddressEntry {
    std::string interface;
    std::string address; ///< dotted decimal
    LinkKind kind = LinkKind::none;
    std::optional<std::uint32_t> routeMetric; ///< where a default route leaves through it
};

/// The machine's own address, of `entries` in the system's order:
///
/// - Ports qualify.
/// - Where none has an address, shares qualify, and pairs through which a default route leaves:
///   inside a container its own end is the wired interface, and the host's end is no way out.
/// - Among several the one with the default route of the lowest metric is taken, else the first.
///
/// Whether an interface is up is not asked.
std::optional<AddressEntry> primaryAddress(std::vector<AddressEntry> entries);

/// Why it takes none of them.
SourceCondition whyNoAddress(const std::vector<AddressEntry>& entries);

} // namespace AmbrelKit::Linux

#endif
