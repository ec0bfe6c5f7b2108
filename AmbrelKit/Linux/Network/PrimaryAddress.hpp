#ifndef AMBRELKIT_LINUX_NETWORK_PRIMARYADDRESS_HPP
#define AMBRELKIT_LINUX_NETWORK_PRIMARYADDRESS_HPP

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
    none,     ///< loopback, bridge, tunnel, dummy, anything else that leads to no network by itself
    wireless, ///< a radio that nl80211 knows
    wired,    ///< an Ethernet port, or a VLAN or a bond of such
    cellular, ///< a modem
    container, ///< the one end of a pair, or a share of a host's port: how a container is attached
};

/// What the kernel tells of an interface, beside its name: names are the user's to choose.
struct LinkFacts {
    int hardwareType = 0;   ///< ARPHRD_…
    bool hasDevice = false; ///< a piece of hardware (PCI, USB, platform, virtio) stands behind it
    bool isRadio = false;   ///< a cfg80211 radio stands behind it
    std::string deviceType; ///< DEVTYPE: "wlan", "wwan", "bridge", "vlan", "bond" …, often empty
    std::string driver;     ///< what ethtool calls the driver; asked only where no hardware is
};

LinkKind linkKind(const LinkFacts& facts);

/// One IPv4 address of an interface.
struct AddressEntry {
    std::string interface;
    std::string address; ///< dotted decimal
};

/// The lowest metric of each interface's default routes.
using DefaultRoutes = std::map<std::string, std::uint32_t, std::less<>>;

/// Reads the kernel's table /proc/net/route. Lines that are no usable default route are passed
/// over.
DefaultRoutes defaultRoutes(std::string_view table);

/// The machine's IPv4 address, of `entries` in the system's order:
///
/// - Wireless, wired and cellular interfaces qualify, known by what the kernel says of them.
///   Loopback, bridges and tunnels never do, nor do the host's ends of its containers' links, which
///   carry no address of their own.
/// - Where none of those has an address, the links by which a container is attached qualify: inside
///   a container its own end of the pair is the wired interface.
/// - Among several the one that holds the default route of the lowest metric is taken, else the
///   first.
///
/// Whether an interface is up is not asked. `kind` tells what the interface of this name is; it is
/// called only until the choice is made.
std::optional<std::string>
primaryAddress(std::vector<AddressEntry> entries, const DefaultRoutes& routes,
               const std::function<LinkKind(const std::string& interface)>& kind);

} // namespace AmbrelKit::Linux

#endif
