#include "AmbrelKit/Linux/Network/PrimaryAddress.hpp"

#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <net/if_arp.h>
#include <net/route.h>
#include <sstream>

namespace AmbrelKit::Linux {

namespace {

using namespace std::string_view_literals;

template <class List, class Element> bool contains(const List& list, const Element& element) {
    return std::ranges::find(list, element) != list.end();
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
    if (facts.isRadio) {
        return facts.isAccessPoint ? LinkKind::accessPoint : LinkKind::port;
    }
    if (facts.hasDevice) {
        constexpr std::array ports{ARPHRD_ETHER, ARPHRD_NONE, ARPHRD_RAWIP}; // modems' bare packets
        return contains(ports, facts.hardwareType) ? LinkKind::port : LinkKind::none;
    }
    static constexpr std::array composed{"802.1Q VLAN Support"sv, "bonding"sv, "team"sv};
    static constexpr std::array bridges{"bridge"sv, "openvswitch"sv};
    static constexpr std::array shares{"macvlan"sv, "ipvlan"sv};
    const std::string_view driver = facts.driver;
    if (facts.hardwareType != ARPHRD_ETHER) {
        return LinkKind::none;
    }
    return contains(composed, driver)  ? LinkKind::port
           : contains(bridges, driver) ? LinkKind::bridge
           : contains(shares, driver)  ? LinkKind::share
           : driver == "veth"          ? LinkKind::pair
                                       : LinkKind::none;
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

std::optional<AddressEntry> primaryAddress(std::vector<AddressEntry> entries) {
    std::ranges::stable_sort(entries, {}, [](const AddressEntry& entry) {
        constexpr auto none = std::numeric_limits<std::uint64_t>::max();
        return entry.routeMetric ? std::uint64_t{*entry.routeMetric} : none;
    });
    const auto isPort = [](const auto& entry) { return entry.kind == LinkKind::port; };
    const auto standsIn = [](const auto& entry) {
        return entry.kind == LinkKind::share ||
               (entry.kind == LinkKind::pair && entry.routeMetric.has_value());
    };
    auto chosen = std::ranges::find_if(entries, isPort);
    if (chosen == entries.end()) {
        chosen = std::ranges::find_if(entries, standsIn);
    }
    return chosen == entries.end() ? std::nullopt : std::optional(*chosen);
}

SourceCondition whyNoAddress(const std::vector<AddressEntry>& entries) {
    for (const AddressEntry& entry : entries) {
        const auto name = repairedUTF8(entry.interface);
        if (entry.kind == LinkKind::bridge && entry.routeMetric) {
            return because(SourceReason::addressOfBridge, {name});
        }
        if (entry.kind == LinkKind::accessPoint) {
            return because(SourceReason::addressOfAccessPoint, {name});
        }
    }
    return because(SourceReason::noAddress);
}

} // namespace AmbrelKit::Linux
