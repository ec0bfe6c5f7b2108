#include "AmbrelKit/Linux/Network/Interfaces.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace AmbrelKit::Linux {
namespace {

constexpr const char* notPermitted = "not permitted";

/// In a network namespace of this process's own, with /sys to match: sets links up by ip(8), and
/// answers the address that is chosen among them.
std::string addressAmong(const std::vector<std::string>& links) {
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("sysfs", "/sys", "sysfs", 0, nullptr) != 0) {
        return notPermitted;
    }
    for (const std::string& link : links) {
        if (std::system(("ip " + link).c_str()) != 0) {
            return "failed: ip " + link;
        }
    }
    return addressIPv4().value_or("none");
}

/// The same in a process of its own, so that this one stays where it is.
std::string addressAmongInChild(const std::vector<std::string>& links) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return "no pipe";
    }
    const pid_t child = fork();
    if (child == 0) {
        const std::string answer = addressAmong(links);
        const bool told = write(ends[1], answer.data(), answer.size()) >= 0;
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    std::array<char, 256> text{};
    const ssize_t length = read(ends[0], text.data(), text.size());
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return {text.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

TEST(Interfaces, RealLinksAreToldByTheirKindNotTheirName) {
    const std::string loopback = "address add 192.0.2.9/32 dev lo";
    const std::string bridge = "link add en0 type bridge";
    const std::string bridgeAddress = "address add 192.0.2.10/24 dev en0";
    const std::string tap = "tuntap add en1 mode tap";
    const std::string tapAddress = "address add 192.0.2.11/24 dev en1";
    const std::string pair = "link add br0 type veth peer name docker0";
    const std::string first = "address add 198.51.100.1/24 dev br0 label br0:1";
    const std::string second = "address add 203.0.113.1/24 dev docker0";
    struct Case {
        const char* what;
        std::vector<std::string> links;
        std::string address;
    };
    std::vector<Case> cases{
        {"nothing", {}, "none"},
        {"loopback, bridge", {loopback, "link set lo up", bridge, bridgeAddress}, "none"},
        {"an unaddressed pair", {pair, bridge, bridgeAddress}, "none"},
        {"a pair beside a bridge, with a label",
         {bridge, bridgeAddress, pair, first},
         "198.51.100.1"},
        {"two links, and the second leads out",
         {pair, first, second, "link set br0 up", "link set docker0 up",
          "route add default dev br0 metric 20", "route add default dev docker0 metric 10"},
         "203.0.113.1"},
    };
    if (access("/dev/net/tun", R_OK | W_OK) == 0) { // not in every container
        cases.push_back({"tap", {tap, tapAddress}, "none"});
    }
    for (const Case& each : cases) {
        const std::string address = addressAmongInChild(each.links);
        if (address == notPermitted) {
            GTEST_SKIP() << "a network namespace of the test's own is not permitted here";
        }
        EXPECT_EQ(address, each.address) << each.what;
    }
}

} // namespace
} // namespace AmbrelKit::Linux
