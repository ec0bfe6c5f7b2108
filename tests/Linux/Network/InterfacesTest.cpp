#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "tests/support/Isolation.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace AmbrelKit::Linux {
namespace {

/// What begins the answer where the kernel does not let the links be made.
const std::string refused = "the kernel refuses ";

/// In a network of this process's own: sets links up by ip(8), and answers the address that is
/// chosen among them at last, or the code of why there is none.
std::string addressAmong(const std::vector<std::string>& links) {
    if (const auto refusal = isolate(); !refusal.empty()) {
        return refusal;
    }
    Interfaces interfaces;
    const auto address = [](Interfaces& of) {
        const auto answer = of.addressIPv4();
        return answer.address.value_or(answer.condition.code);
    };
    std::string found = address(interfaces);
    for (const std::string& link : links) {
        if (std::system(("ip " + link + " 2>/dev/null").c_str()) != 0) {
            const bool kernelLacksIt =
                link.find(" add ") != std::string::npos && link.find(" type ") != std::string::npos;
            return (kernelLacksIt || link.starts_with("tuntap") ? refused : "failed: ") + link;
        }
        found = address(interfaces); // which must not stay what it was
    }
    const rlimit noDescriptor{};
    setrlimit(RLIMIT_NOFILE, &noDescriptor);
    Interfaces blind;
    if (address(blind) != "no-descriptors") {
        return "invents an answer";
    }
    return found == address(interfaces) ? found : "lost sight of";
}

struct Links {
    const char* what;
    std::vector<std::string> commands;
    std::string address;
};

void PrintTo(const Links& links, std::ostream* stream) { *stream << links.what; }

class RealLinks : public testing::TestWithParam<Links> {};

TEST_P(RealLinks, AreToldByTheirKindNotTheirName) {
    const std::string address =
        outputOf([] { std::fputs(addressAmong(GetParam().commands).c_str(), stdout); });
    if (address.starts_with(refused)) {
        GTEST_SKIP() << address;
    }
    EXPECT_EQ(address, GetParam().address) << GetParam().what;
}

std::vector<Links> tableOfLinks() {
    const std::string bridge = "link add en0 type bridge";
    const std::string bridgeAddress = "address add 192.0.2.10/24 dev en0";
    const std::string pair = "link add wlan0 type veth peer name wwan0";
    const std::string first = "address add 198.51.100.1/24 dev wlan0 label wlan0:1";
    const std::string second = "address add 203.0.113.1/24 dev wwan0";
    const std::vector<std::string> twoLeadOut{
        pair,
        first,
        second,
        "link set wlan0 up",
        "link set wwan0 up",
        "route add default dev wlan0 metric 20",
        "route add default dev wwan0 metric 10",
    };
    const auto with = [](std::vector<std::string> some, const std::vector<std::string>& more) {
        some.insert(some.end(), more.begin(), more.end());
        return some;
    };
    const std::string vlanAddress = "address add 192.0.2.7/24 dev tun7";
    return {
        {"Nothing", {}, "no-interface"},
        {"Loopback", {"address add 192.0.2.9/32 dev lo", "link set lo up"}, "no-interface"},
        {"Bridge", {bridge, bridgeAddress}, "no-interface"},
        {"BridgeThatLeadsOut",
         {bridge, bridgeAddress, "link set en0 up", "route add default dev en0"},
         "bridge"},
        {"PairInABridge",
         {bridge, bridgeAddress, pair, "link set wlan0 master en0"},
         "no-interface"},
        {"PairBesideABridge", {bridge, bridgeAddress, pair, first}, "no-interface"},
        {"Tap", {"tuntap add eth0 mode tap", "address add 192.0.2.11/24 dev eth0"}, "no-interface"},
        {"Tun", {"tuntap add eth0 mode tun", "address add 192.0.2.11/24 dev eth0"}, "no-interface"},
        {"Dummy",
         {"link add eth0 type dummy", "address add 192.0.2.12/24 dev eth0"},
         "no-interface"},
        {"Macvlan",
         {pair, "link add link wlan0 name eth0 type macvlan", "address add 192.0.2.13/24 dev eth0"},
         "192.0.2.13"},
        {"TheSecondLeadsOut", twoLeadOut, "203.0.113.1"},
        {"TheSecondLeadsOutNoLonger", with(twoLeadOut, {"route delete default dev wwan0"}),
         "198.51.100.1"},
        {"TheFirstLeadsOutBetter", with(twoLeadOut, {"route add default dev wlan0 metric 5"}),
         "198.51.100.1"},
        // A pair that were taken for a radio or a modem, by its name, would win by its route.
        {"VLANBesideAPairThatLeadsOut",
         with(twoLeadOut, {"link add link wlan0 name tun7 type vlan id 7", vlanAddress}),
         "192.0.2.7"},
    };
}

INSTANTIATE_TEST_SUITE_P(Interfaces, RealLinks, testing::ValuesIn(tableOfLinks()),
                         [](const auto& info) { return std::string(info.param.what); });

} // namespace
} // namespace AmbrelKit::Linux
