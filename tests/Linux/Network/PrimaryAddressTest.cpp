#include "AmbrelKit/Linux/Network/PrimaryAddress.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <net/if_arp.h>

namespace AmbrelKit::Linux {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(LinkKind, IsWhatTheKernelSaysWhateverTheName) {
    struct Case {
        const char* what;
        LinkFacts facts;
        LinkKind kind;
    };
    using enum LinkKind;
    const std::vector<Case> cases{
        {"Ethernet port", {ARPHRD_ETHER, true}, port},
        {"modem, bare packets", {ARPHRD_NONE, true}, port},
        {"modem, bare IP", {ARPHRD_RAWIP, true}, port},
        {"VLAN", {ARPHRD_ETHER, false, false, false, "802.1Q VLAN Support"}, port},
        {"bond", {ARPHRD_ETHER, false, false, false, "bonding"}, port},
        {"team", {ARPHRD_ETHER, false, false, false, "team"}, port},
        {"radio", {ARPHRD_ETHER, true, true}, port},
        {"access point", {ARPHRD_ETHER, true, true, true}, accessPoint},
        {"pair", {ARPHRD_ETHER, false, false, false, "veth"}, pair},
        {"macvlan", {ARPHRD_ETHER, false, false, false, "macvlan"}, share},
        {"ipvlan", {ARPHRD_ETHER, false, false, false, "ipvlan"}, share},
        {"bridge", {ARPHRD_ETHER, false, false, false, "bridge"}, bridge},
        {"loopback", {ARPHRD_LOOPBACK}, none},
        {"tap", {ARPHRD_ETHER, false, false, false, "tun"}, none},
        {"tun", {ARPHRD_NONE, false, false, false, "tun"}, none},
        {"PPP", {ARPHRD_PPP}, none},
        {"VXLAN", {ARPHRD_ETHER, false, false, false, "vxlan"}, none},
        {"dummy", {ARPHRD_ETHER, false, false, false, "dummy"}, none},
        {"CAN bus", {ARPHRD_CAN, true}, none},
        {"nothing known", {}, none},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(linkKind(each.facts), each.kind) << each.what;
    }
}

TEST(DefaultRoutes, AreTheUsableOnesWithTheirLowestMetric) {
    const char* const table =
        "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT   \n"
        "eth0\t00000000\t010200C0\t0003\t0\t0\t600\t00000000\t0\t0\t0      \n"
        "eth0\t00000000\t010200C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"
        "eth0\t000200C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"
        "tun0\t00000000\t00000000\t0001\t0\t0\t0\t00000080\t0\t0\t0\n"
        "down0\t00000000\t010200C0\t0002\t0\t0\t0\t00000000\t0\t0\t0\n"
        "*\t00000000\t00000000\t0200\t0\t0\t4294967295\t00000000\t0\t0\t0\n"
        "wlan0\t00000000\t00000000\t0001\t0\t0\t4294967295\t00000000\t0\t0\t0\n"
        "bad0\t00000000\t00000000\t0003\t0\t0\tx\t00000000\t0\t0\t0\n"
        "cut0\t00000000\t0102";
    EXPECT_THAT(defaultRoutes(table), ElementsAre(Pair("eth0", 100U), Pair("wlan0", 4294967295U)));
    EXPECT_THAT(defaultRoutes(""), IsEmpty());
}

TEST(PrimaryAddress, IsThatOfTheLinkThatLeadsOut) {
    // The first letter tells the kind: e(thernet), w(ireless), v(eth), i(pvlan), b(ridge), a(ccess
    // point), anything else none.
    const auto kind = [](char letter) {
        return letter == 'e' || letter == 'w' ? LinkKind::port
               : letter == 'v'                ? LinkKind::pair
               : letter == 'i'                ? LinkKind::share
               : letter == 'b'                ? LinkKind::bridge
               : letter == 'a'                ? LinkKind::accessPoint
                                              : LinkKind::none;
    };
    struct Case {
        const char* what;
        std::vector<std::string> interfaces; ///< each with itself for an address
        DefaultRoutes routes;
        std::string address; ///< or the code of why there is none
    };
    const std::vector<Case> cases{
        {"no interface", {}, {}, "no-interface"},
        {"only links that lead nowhere", {"br0", "tun0"}, {{"tun0", 0}}, "no-interface"},
        {"a bridge that leads out", {"tun0", "br0"}, {{"br0", 0}}, "bridge"},
        {"an access point", {"ap0"}, {}, "access-point"},
        {"the first without a default route", {"br0", "e0", "w0"}, {}, "e0"},
        {"the default route before the order", {"e0", "w0"}, {{"w0", 600}}, "w0"},
        {"the lowest metric", {"e0", "w0", "e1"}, {{"e1", 700}, {"w0", 600}, {"e0", 800}}, "w0"},
        {"the first of equal metrics", {"w0", "e0"}, {{"w0", 0}, {"e0", 0}}, "w0"},
        {"a default route through a tunnel", {"tun0", "e0", "w0"}, {{"tun0", 0}, {"w0", 9}}, "w0"},
        {"the host's end of a container's link", {"v0"}, {}, "no-interface"},
        {"a container on its host's port", {"i0"}, {}, "i0"},
        {"a container on two networks", {"v0", "v1"}, {{"v1", 0}}, "v1"},
        {"hardware before a container's link", {"v0", "e0"}, {{"v0", 0}}, "e0"},
    };
    for (const Case& each : cases) {
        std::vector<AddressEntry> entries;
        for (const std::string& interface : each.interfaces) {
            const auto route = each.routes.find(interface);
            entries.push_back(
                {interface, interface, kind(interface.front()),
                 route == each.routes.end() ? std::nullopt : std::optional(route->second)});
        }
        const auto chosen = primaryAddress(entries);
        EXPECT_EQ(chosen ? chosen->address : whyNoAddress(entries).code, each.address) << each.what;
    }
}

} // namespace
} // namespace AmbrelKit::Linux
