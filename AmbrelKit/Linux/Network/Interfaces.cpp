#include "AmbrelKit/Linux/Network/Interfaces.hpp"

#include "AmbrelKit/Linux/Network/Wireless.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

ifreq requestFor(const std::string& interface) {
    ifreq request{};
    interface.copy(request.ifr_name, IFNAMSIZ - 1);
    return request;
}

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

/// The default routes. The table is in the order of destinations, so that its start has all of
/// them, however long it is.
DefaultRoutes readRoutes(int table) {
    constexpr std::size_t most = 16384;
    std::string text(most, '\0');
    std::size_t length = 0;
    ssize_t count = 0;
    while ((count = pread(table, text.data() + length, most - length, static_cast<off_t>(length))) >
           0) {
        length += static_cast<std::size_t>(count);
    }
    text.resize(length);
    return defaultRoutes(text);
}

/// Every IPv4 address with its label.
std::optional<std::vector<ifreq>> labelledAddresses(int descriptor) {
    constexpr std::size_t newcomers = 16; // since their number was asked for
    ifconf list{};
    if (ioctl(descriptor, SIOCGIFCONF, &list) != 0) {
        return std::nullopt;
    }
    std::vector<ifreq> entries(static_cast<std::size_t>(list.ifc_len) / sizeof(ifreq) + newcomers);
    list.ifc_len = static_cast<int>(entries.size() * sizeof(ifreq));
    list.ifc_req = entries.data();
    if (ioctl(descriptor, SIOCGIFCONF, &list) != 0) {
        return std::nullopt;
    }
    entries.resize(static_cast<std::size_t>(list.ifc_len) / sizeof(ifreq));
    return entries;
}

} // namespace

Interfaces::Interfaces() { openWhatIsMissing(); }

void Interfaces::openWhatIsMissing() {
    if (routes_.get() < 0) {
        routes_ = Descriptor(open("/proc/self/net/route", O_RDONLY | O_CLOEXEC));
    }
    if (socket_.get() < 0) {
        socket_ = Descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    }
}

std::string Interfaces::driver(const std::string& interface) const {
    ethtool_drvinfo info{};
    info.cmd = ETHTOOL_GDRVINFO;
    ifreq request = requestFor(interface);
    request.ifr_data = reinterpret_cast<char*>(&info);
    if (ioctl(socket_.get(), SIOCETHTOOL, &request) != 0) {
        return "";
    }
    return {info.driver, strnlen(info.driver, sizeof info.driver)};
}

LinkKind Interfaces::kind(const std::string& interface) const {
    const std::string folder = "/sys/class/net/" + interface;
    ifreq request = requestFor(interface);
    if (ioctl(socket_.get(), SIOCGIFHWADDR, &request) != 0) {
        return LinkKind::none;
    }
    LinkFacts facts;
    facts.hardwareType = request.ifr_hwaddr.sa_family;
    facts.hasDevice = exists(folder + "/device");
    facts.isRadio = exists(folder + "/phy80211");
    facts.isAccessPoint = facts.isRadio && isAccessPoint(interface);
    if (!facts.hasDevice) {
        facts.driver = driver(interface);
    }
    return linkKind(facts);
}

std::optional<std::vector<AddressEntry>> Interfaces::addresses() {
    openWhatIsMissing();
    const auto labelled = socket_.get() >= 0 ? labelledAddresses(socket_.get()) : std::nullopt;
    if (!labelled) {
        return std::nullopt;
    }
    const DefaultRoutes routes = readRoutes(routes_.get());
    std::vector<AddressEntry> entries;
    for (const ifreq& each : *labelled) {
        // An address may carry a label of its own, `eth0:1`: what follows the colon is no part of
        // the interface's name.
        const std::string_view label(each.ifr_name, strnlen(each.ifr_name, IFNAMSIZ));
        AddressEntry entry;
        entry.interface = label.substr(0, label.find(':'));
        sockaddr_in address{};
        std::memcpy(&address, &each.ifr_addr, sizeof address);
        std::array<char, INET_ADDRSTRLEN> text{};
        inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
        entry.address = text.data();
        entry.kind = kind(entry.interface);
        if (const auto route = routes.find(entry.interface); route != routes.end()) {
            entry.routeMetric = route->second;
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

AddressAnswer Interfaces::addressIPv4() {
    const auto entries = addresses();
    if (!entries) {
        const int error = errno;
        return {std::nullopt, because(reasonFor(error, SourceReason::addressesNotTold),
                                      {std::generic_category().message(error)})};
    }
    auto chosen = primaryAddress(*entries);
    if (!chosen) {
        return {std::nullopt, whyNoAddress(*entries)};
    }
    return {std::move(chosen->address), listening(repairedUTF8(chosen->interface))};
}

} // namespace AmbrelKit::Linux
