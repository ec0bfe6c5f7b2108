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
    const std::vector<Case> cases{
        {"Ethernet port", {ARPHRD_ETHER, true, false, "", ""}, LinkKind::wired},
        {"switch port", {ARPHRD_ETHER, true, false, "dsa", ""}, LinkKind::wired},
        {"tethered phone", {ARPHRD_ETHER, true, false, "", "cdc_ether"}, LinkKind::wired},
        {"VLAN", {ARPHRD_ETHER, false, false, "vlan", "802.1Q VLAN Support"}, LinkKind::wired},
        {"bond", {ARPHRD_ETHER, false, false, "bond", "bonding"}, LinkKind::wired},
        {"team", {ARPHRD_ETHER, false, false, "", "team"}, LinkKind::wired},
        {"radio", {ARPHRD_ETHER, true, true, "wlan", ""}, LinkKind::wireless},
        {"modem, Ethernet frames", {ARPHRD_ETHER, true, false, "wwan", ""}, LinkKind::cellular},
        {"modem, bare packets", {ARPHRD_NONE, true, false, "wwan", ""}, LinkKind::cellular},
        {"pair", {ARPHRD_ETHER, false, false, "", "veth"}, LinkKind::container},
        {"macvlan", {ARPHRD_ETHER, false, false, "", "macvlan"}, LinkKind::container},
        {"ipvlan", {ARPHRD_ETHER, false, false, "", "ipvlan"}, LinkKind::container},
        {"loopback", {ARPHRD_LOOPBACK, false, false, "", ""}, LinkKind::none},
        {"bridge", {ARPHRD_ETHER, false, false, "bridge", "bridge"}, LinkKind::none},
        {"tap", {ARPHRD_ETHER, false, false, "", "tun"}, LinkKind::none},
        {"tun", {ARPHRD_NONE, false, false, "", "tun"}, LinkKind::none},
        {"WireGuard", {ARPHRD_NONE, false, false, "wireguard", ""}, LinkKind::none},
        {"PPP", {ARPHRD_PPP, false, false, "ppp", ""}, LinkKind::none},
        {"VXLAN", {ARPHRD_ETHER, false, false, "vxlan", "vxlan"}, LinkKind::none},
        {"dummy", {ARPHRD_ETHER, false, false, "", "dummy"}, LinkKind::none},
        {"CAN bus", {ARPHRD_CAN, true, false, "", ""}, LinkKind::none},
        {"nothing known", {}, LinkKind::none},
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
    // The first letter tells the kind: e(thernet), w(ireless), m(odem), v(eth), anything else none.
    const auto kind = [](const std::string& interface) {
        switch (interface.front()) {
        case 'e':
            return LinkKind::wired;
        case 'w':
            return LinkKind::wireless;
        case 'm':
            return LinkKind::cellular;
        case 'v':
            return LinkKind::container;
        default:
            return LinkKind::none;
        }
    };
    struct Case {
        const char* what;
        std::vector<std::string> interfaces; ///< each with itself for an address
        DefaultRoutes routes;
        std::optional<std::string> address;
    };
    const std::vector<Case> cases{
        {"no interface", {}, {}, std::nullopt},
        {"only links that lead nowhere", {"br0", "tun0"}, {{"tun0", 0}}, std::nullopt},
        {"the first without a default route", {"br0", "e0", "w0"}, {}, "e0"},
        {"the default route before the order", {"e0", "w0"}, {{"w0", 600}}, "w0"},
        {"the lowest metric", {"e0", "w0", "m0"}, {{"m0", 700}, {"w0", 600}, {"e0", 800}}, "w0"},
        {"the first of equal metrics", {"w0", "e0"}, {{"w0", 0}, {"e0", 0}}, "w0"},
        {"a default route through a tunnel", {"tun0", "e0", "w0"}, {{"tun0", 0}, {"w0", 9}}, "w0"},
        {"a container", {"v0"}, {}, "v0"},
        {"a container on two networks", {"v0", "v1"}, {{"v1", 0}}, "v1"},
        {"hardware before a container's link", {"v0", "e0"}, {{"v0", 0}}, "e0"},
    };
    for (const Case& each : cases) {
        std::vector<AddressEntry> entries;
        for (const std::string& interface : each.interfaces) {
            entries.push_back({interface, interface});
        }
        EXPECT_EQ(primaryAddress(entries, each.routes, kind), each.address) << each.what;
    }
}

} // namespace
} // namespace AmbrelKit::Linux
