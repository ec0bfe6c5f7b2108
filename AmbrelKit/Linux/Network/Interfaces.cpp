#include "AmbrelKit/Linux/Network/Interfaces.hpp"

#include "AmbrelKit/Linux/Network/PrimaryAddress.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <arpa/inet.h>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// The text of a kernel's file, at most so much of it; empty when it can't be read.
std::string contents(const std::string& path) {
    constexpr std::size_t most = 16384;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text(most, '\0');
    std::size_t length = 0;
    ssize_t count = 0;
    while ((count = read(file.get(), text.data() + length, most - length)) > 0) {
        length += static_cast<std::size_t>(count);
    }
    text.resize(length);
    return text;
}

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::string deviceType(const std::string& uevent) {
    constexpr std::string_view key = "DEVTYPE=";
    const auto start = uevent.find(key);
    if (start == std::string::npos) {
        return "";
    }
    const auto value = start + key.size();
    return uevent.substr(value, uevent.find('\n', value) - value);
}

std::string driver(const std::string& interface) {
    const Descriptor socketDescriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ethtool_drvinfo info{};
    info.cmd = ETHTOOL_GDRVINFO;
    ifreq request{};
    interface.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_data = reinterpret_cast<char*>(&info);
    if (ioctl(socketDescriptor.get(), SIOCETHTOOL, &request) != 0) {
        return "";
    }
    return {info.driver, strnlen(info.driver, sizeof info.driver)};
}

LinkKind kindOfInterface(const std::string& interface) {
    const std::string folder = "/sys/class/net/" + interface;
    LinkFacts facts;
    facts.hardwareType = std::atoi(contents(folder + "/type").c_str());
    facts.hasDevice = exists(folder + "/device");
    facts.isRadio = exists(folder + "/phy80211");
    facts.deviceType = deviceType(contents(folder + "/uevent"));
    if (!facts.hasDevice) {
        facts.driver = driver(interface);
    }
    return linkKind(facts);
}

/// The IPv4 addresses of every interface but loopback. An address may carry a label of its own,
/// `eth0:1`: what follows the colon is no part of the interface's name.
std::vector<AddressEntry> addressEntries() {
    ifaddrs* head = nullptr;
    getifaddrs(&head);
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(head, freeifaddrs);
    std::vector<AddressEntry> entries;
    for (const ifaddrs* entry = head; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_name == nullptr || entry->ifa_addr == nullptr ||
            entry->ifa_addr->sa_family != AF_INET || (entry->ifa_flags & IFF_LOOPBACK) != 0) {
            continue;
        }
        sockaddr_in address{};
        std::memcpy(&address, entry->ifa_addr, sizeof address);
        std::array<char, INET_ADDRSTRLEN> text{};
        inet_ntop(AF_INET, &address.sin_addr, text.data(), text.size());
        const std::string_view name = entry->ifa_name;
        entries.push_back(
            {.interface = std::string(name.substr(0, name.find(':'))), .address = text.data()});
    }
    return entries;
}

} // namespace

std::optional<std::string> addressIPv4() {
    auto entries = addressEntries();
    DefaultRoutes routes;
    if (entries.size() > 1) {
        // The table is in the order of destinations, so that its start has every default route,
        // however long it is.
        routes = defaultRoutes(contents("/proc/net/route"));
    }
    return primaryAddress(std::move(entries), routes, kindOfInterface);
}

} // namespace AmbrelKit::Linux
