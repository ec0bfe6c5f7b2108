#include "AmbrelKit/Linux/NearbyDevices/MulticastNetwork.hpp"

#include "AmbrelKit/Linux/Libraries/AvahiCore.hpp"
#include "AmbrelKit/Linux/Network/LinkWatch.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <cerrno>
#include <fcntl.h>
#include <ifaddrs.h>
#include <linux/netlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace AmbrelKit::Linux {

namespace {

constexpr std::uint16_t mdnsPort = 5353;

/// Whether others let this process listen beside them.
bool portCanBeShared() {
    const Descriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int yes = 1;
    setsockopt(descriptor.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    setsockopt(descriptor.get(), SOL_SOCKET, SO_REUSEPORT, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(mdnsPort);
    return bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
               0 ||
           errno != EADDRINUSE;
}

} // namespace

std::optional<bool> networkDoesMulticast() {
    return hasInterface([](const ifaddrs& entry) {
        constexpr unsigned needed = IFF_UP | IFF_RUNNING | IFF_MULTICAST;
        constexpr unsigned unused = IFF_LOOPBACK | IFF_POINTOPOINT; // by Avahi, unless told to
        const bool ip = entry.ifa_addr != nullptr && (entry.ifa_addr->sa_family == AF_INET ||
                                                      entry.ifa_addr->sa_family == AF_INET6);
        return ip && (entry.ifa_flags & (needed | unused)) == needed;
    });
}

std::optional<SourceReason> missingSockets() {
    const Descriptor interfaces(socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (interfaces.get() < 0) {
        return reasonFor(errno, SourceReason::noNetlinkForServices);
    }
    const Descriptor ipv4(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const Descriptor ipv6(fcntl(ipv4.get(), F_DUPFD_CLOEXEC, 0)); // which the kernel may lack
    return ipv6.get() < 0 ? std::optional(SourceReason::noDescriptors) : std::nullopt;
}

std::optional<SourceReason> embeddedStackLacks() {
    if (const auto missing = missingSockets()) {
        return missing;
    }
    if (!avahiLibrary.isThere()) {
        return SourceReason::noAvahiLibrary;
    }
    if (!networkDoesMulticast().value_or(true)) {
        return SourceReason::noMulticastInterface;
    }
    return portCanBeShared() ? std::nullopt : std::optional(SourceReason::mdnsPortTaken);
}

} // namespace AmbrelKit::Linux
