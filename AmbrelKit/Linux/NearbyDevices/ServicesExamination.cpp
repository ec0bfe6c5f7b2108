#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <cerrno>
#include <ifaddrs.h>
#include <linux/netlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace AmbrelKit::Linux {

namespace {

constexpr std::uint16_t mdnsPort = 5353;

bool networkDoesMulticast() {
    constexpr unsigned needed = IFF_UP | IFF_RUNNING | IFF_MULTICAST;
    ifaddrs* head = nullptr;
    if (getifaddrs(&head) != 0) {
        return true; // not known to be at fault
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(head, freeifaddrs);
    for (const ifaddrs* entry = head; entry != nullptr; entry = entry->ifa_next) {
        const bool ip = entry->ifa_addr != nullptr && (entry->ifa_addr->sa_family == AF_INET ||
                                                       entry->ifa_addr->sa_family == AF_INET6);
        if (ip && (entry->ifa_flags & needed) == needed && (entry->ifa_flags & IFF_LOOPBACK) == 0) {
            return true;
        }
    }
    return false;
}

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

Finding judgedNetwork() {
    if (Descriptor(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)).get() < 0) {
        return fails("this process may not ask the kernel for its interfaces",
                     "let it use AF_NETLINK sockets (RestrictAddressFamilies= of its unit), or use "
                     "avahi-daemon");
    }
    if (!networkDoesMulticast()) {
        return fails("no interface is up on which services can be looked for",
                     "connect to a network");
    }
    if (!portCanBeShared()) {
        return fails("another program has the mDNS port for itself",
                     "end it (ss -ulpn sport = 5353 names it), or use avahi-daemon");
    }
    return works("the embedded mDNS stack, since no avahi-daemon serves here");
}

Finding judgedDaemon(sd_bus_message* version) {
    if (version == nullptr) {
        return judgedNetwork().usable
                   ? works("the embedded mDNS stack, two seconds late: avahi-daemon does not "
                           "answer (systemctl restart avahi-daemon)")
                   : failsWithoutAnswer("avahi-daemon");
    }
    const char* text = nullptr;
    const bool serves = !isError(version) && sd_bus_message_read(version, "s", &text) > 0;
    return serves && networkDoesMulticast() ? works("avahi-daemon (" + std::string(text) + ")")
                                            : judgedNetwork();
}

} // namespace

Examination examineServices(const Surroundings& surroundings, const Report& report) {
    constexpr const char* name = "org.freedesktop.Avahi";
    if (surroundings.running.contains(name)) {
        return askDaemon(surroundings,
                         {name, "/", "org.freedesktop.Avahi.Server", "GetVersionString"}, {},
                         [report](sd_bus_message* reply) { report(judgedDaemon(reply)); });
    }
    report(judgedNetwork());
    return nullptr;
}

} // namespace AmbrelKit::Linux
