#include "AmbrelKit/Linux/Network/PrimaryAddress.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <net/if_arp.h>
#include <net/route.h>
#include <sstream>

namespace AmbrelKit::Linux {

namespace {

template <std::size_t Size>
bool contains(const std::array<std::string_view, Size>& list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

/// A number of the route table's, or nothing when the whole text is none.
std::optional<std::uint32_t> number(std::string_view text, int base) {
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

LinkKind linkKind(const LinkFacts& facts) {
    if (facts.isRadio || facts.deviceType == "wlan") {
        return LinkKind::wireless;
    }
    if (facts.deviceType == "wwan") { // of any hardware type: many a modem has no Ethernet frames
        return LinkKind::cellular;
    }
    if (facts.hardwareType != ARPHRD_ETHER) {
        return LinkKind::none;
    }
    const bool composed = // of other Ethernet ports, so it is one of this machine's own
        facts.deviceType == "vlan" || facts.deviceType == "bond" || facts.driver == "team";
    if (facts.hasDevice || composed) {
        return LinkKind::wired;
    }
    if (facts.driver == "veth" || facts.driver == "macvlan" || facts.driver == "ipvlan") {
        return LinkKind::container;
    }
    return LinkKind::none;
}

DefaultRoutes defaultRoutes(std::string_view table) {
    DefaultRoutes routes;
    std::istringstream lines{std::string(table)};
    std::string line;
    std::getline(lines, line); // the headings
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string interface, destination, gateway, flags, references, uses, metric, mask;
        fields >> interface >> destination >> gateway >> flags >> references >> uses >> metric >>
            mask;
        const auto flagBits = number(flags, 16);
        const auto cost = number(metric, 10);
        if (number(destination, 16) != 0U || number(mask, 16) != 0U || !flagBits || !cost ||
            (*flagBits & RTF_UP) == 0 || (*flagBits & RTF_REJECT) != 0) {
            continue;
        }
        const auto [known, isNew] = routes.emplace(interface, *cost);
        if (!isNew) {
            known->second = std::min(known->second, *cost);
        }
    }
    return routes;
}

std::optional<std::string>
primaryAddress(std::vector<AddressEntry> entries, const DefaultRoutes& routes,
               const std::function<LinkKind(const std::string& interface)>& kind) {
    const auto cost = [&](const AddressEntry& entry) {
        constexpr auto none = std::numeric_limits<std::uint64_t>::max();
        const auto route = routes.find(entry.interface);
        return route == routes.end() ? none : route->second;
    };
    std::stable_sort(entries.begin(), entries.end(),
                     [&](const auto& a, const auto& b) { return cost(a) < cost(b); });
    std::optional<std::string> containerAddress;
    for (const AddressEntry& entry : entries) {
        const LinkKind known = kind(entry.interface);
        if (known == LinkKind::container && !containerAddress) {
            containerAddress = entry.address;
        } else if (known != LinkKind::none && known != LinkKind::container) {
            return entry.address;
        }
    }
    return containerAddress;
}

} // namespace AmbrelKit::Linux
