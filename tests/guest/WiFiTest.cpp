// Against the kernel's nl80211, over radios that are made up: see run. wlan0 and wlan1 are access
// points, wlan2 and wlan3 stations.

#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Linux/Network/Wireless.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "tests/guest/User.hpp"
#include "tests/support/Child.hpp"
#include "tests/support/LoopDriver.hpp"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <unistd.h>
#include <utility>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Clock = std::chrono::steady_clock;
using Lines = std::vector<std::string>;

const std::string first = " 02:00:00:00:00:00";
const std::string second = " 02:00:00:00:01:00";

void shell(const std::string& command) { EXPECT_EQ(std::system(command.c_str()), 0) << command; }

void loadModules() {
    shell("while read -r module; do insmod /modules/$module radios=4 2>/dev/null; done "
          "</modules/wifi; test -e /sys/class/net/wlan3");
}

/// The networks that an ordinary user is told, each with its interface and access point.
Lines joined() {
    EXPECT_EQ(seteuid(ordinaryUser), 0);
    Lines lines;
    for (const auto& host : NetworkEnvironment::shared().availableNetworks()) {
        std::string line(host.interface.string());
        line.append(" ").append(host.ssid ? host.ssid->string() : "(no name)");
        line.append(" ").append(host.bssid ? host.bssid->string() : "(no address)");
        lines.push_back(std::move(line));
    }
    EXPECT_EQ(seteuid(0), 0);
    return lines;
}

std::string hex(const std::string& bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

/// The file of an interface's settings, written.
std::string settings(const std::string& interface, const std::string& text) {
    std::string file = "/run/" + interface + ".conf";
    std::ofstream(file) << text;
    return file;
}

class AccessPoint {
public:
    AccessPoint(const std::string& interface, const std::string& name, const std::string& more = "")
        : daemon_(
              {"hostapd", settings(interface, "interface=" + interface + "\nhw_mode=g\nchannel=" +
                                                  (interface == "wlan0" ? "1" : "6") +
                                                  "\nssid2=" + hex(name) + "\n" + more)}) {}
    ~AccessPoint() { daemon_.end(); }
    AccessPoint(const AccessPoint&) = delete;
    AccessPoint& operator=(const AccessPoint&) = delete;

private:
    Child daemon_;
};

class Station {
public:
    Station(const std::string& interface, const std::string& name,
            const std::string& more = "key_mgmt=NONE")
        : daemon_(
              {"wpa_supplicant", "-i", interface, "-D", "nl80211", "-c",
               settings(
                   interface,
                   "ctrl_interface=/run/wpa\nnetwork={\nscan_ssid=1\nscan_freq=2412 2437\nssid=" +
                       hex(name) + "\n" + more + "\n}\n")}),
          command_("wpa_cli -p /run/wpa -i " + interface + " ") {}
    ~Station() { daemon_.end(); }
    Station(const Station&) = delete;
    Station& operator=(const Station&) = delete;

    [[nodiscard]] bool tell(const std::string& command) const {
        return std::system((command_ + command + " >/dev/null").c_str()) == 0;
    }

private:
    Child daemon_;
    std::string command_;
};

class WiFi : public ::testing::Test {
protected:
    static void SetUpTestSuite() { Linux::platformServices(); }
};

TEST_F(WiFi, IsNothingWhileThereIsNoRadio) {
    EXPECT_THAT(Linux::wirelessStations(), IsEmpty());
    EXPECT_THAT(joined(), IsEmpty());
    for (const bool again : {true, false}) { // the kernel numbers nl80211 anew
        loadModules();
        EXPECT_THAT(Linux::wirelessStations(), ElementsAre("wlan0", "wlan1", "wlan2", "wlan3"));
        EXPECT_THAT(joined(), IsEmpty());
        EXPECT_FALSE(Linux::association("lo"));
        EXPECT_FALSE(Linux::association("wlan"));
        if (again) {
            shell("rmmod mac80211_hwsim && rmmod mac80211 && rmmod cfg80211");
            EXPECT_THAT(Linux::wirelessStations(), IsEmpty());
        }
    }
}

TEST_F(WiFi, IsTheNetworkThatWasJoinedWhateverItsName) {
    const std::string secured = "wpa=2\nwpa_key_mgmt=WPA-PSK\nrsn_pairwise=CCMP\n"
                                "wpa_passphrase=correct horse\n";
    const std::string broken = std::string("A\0\xE2\x82"
                                           "B",
                                           5) +
                               std::string(27, '\xFF');
    std::string repaired = std::string("A\0\uFFFDB", 6);
    for (int i = 0; i < 27; ++i) {
        repaired += "\uFFFD";
    }
    struct Row {
        std::string name;
        std::string accessPoint;
        std::string station;
        std::string told;
    };
    const std::string open = "key_mgmt=NONE";
    const Row rows[] = {
        {"Caf\u00E9 5", "", open, "Caf\u00E9 5"},
        {"secured", secured, "psk=\"correct horse\"", "secured"},
        {"hidden by nothing", "ignore_broadcast_ssid=1\n", open, "hidden by nothing"},
        {"hidden by zeros", "ignore_broadcast_ssid=2\n", open, "hidden by zeros"},
        {broken, "", open, repaired},
    };
    for (const Row& row : rows) {
        const AccessPoint accessPoint("wlan0", row.name, row.accessPoint);
        const Station station("wlan2", row.name, row.station);
        EXPECT_TRUE(runUntil([] { return !joined().empty(); })) << row.name;
        EXPECT_THAT(joined(), ElementsAre("wlan2 " + row.told + first));
        EXPECT_THAT(Linux::wirelessStations(), ElementsAre("wlan1", "wlan2", "wlan3"));
        EXPECT_TRUE(station.tell("disconnect")); // the kernel still lists the access point
        EXPECT_TRUE(runUntil([] { return joined().empty(); })) << row.name;
    }
}

TEST_F(WiFi, FollowsTheStationToAnotherAccessPoint) {
    const auto one = std::make_unique<AccessPoint>("wlan0", "both");
    const Station station("wlan2", "both");
    ASSERT_TRUE(runUntil([] { return joined() == Lines{"wlan2 both" + first}; }));
    auto other = std::make_unique<AccessPoint>("wlan1", "both");
    ASSERT_TRUE(runUntil([&] {
        return station.tell("scan freq=2437") && station.tell("bss" + second + " | grep -q .");
    }));
    EXPECT_TRUE(station.tell("roam" + second + " | grep OK"));
    EXPECT_TRUE(runUntil([] { return joined() == Lines{"wlan2 both" + second}; }));
    other.reset();
    EXPECT_TRUE(runUntil([] { return joined() == Lines{"wlan2 both" + first}; }));
}

std::set<std::string> descriptorsAndWhat() {
    std::set<std::string> descriptors;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        descriptors.insert(std::filesystem::read_symlink(entry));
    }
    return descriptors;
}

double microseconds(const std::function<void()>& body) {
    constexpr int times = 100;
    const auto start = Clock::now();
    for (int i = 0; i < times; ++i) {
        body();
    }
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / times;
}

TEST_F(WiFi, OfTwoRadiosIsToldAndCostsLittle) {
    std::string crowd;
    for (int i = 1; i < 16; ++i) {
        crowd += "bss=wlan0_" + std::to_string(i) + "\nssid=crowd " + std::to_string(i) + "\n";
    }
    const AccessPoint one("wlan0", "one", crowd);
    const AccessPoint other("wlan1", "other");
    const Station inOne("wlan2", "one");
    const Station inOther("wlan3", "other");
    const Lines both{"wlan2 one" + first, "wlan3 other" + second};
    ASSERT_TRUE(runUntil([&] { return joined() == both; }));
    shell("ip address add 192.0.2.1/24 dev wlan0"); // an access point's own does not count
    shell("ip address add 192.0.2.7/24 dev wlan3");

    const auto before = descriptorsAndWhat();
    const double tick = microseconds([] { NetworkEnvironment::shared().availableNetworks(); });
    const double yardstick = microseconds([] {
        ifaddrs* list = nullptr;
        getifaddrs(&list);
        freeifaddrs(list);
    });
    std::printf("    a tick asks for %.0f us; getifaddrs takes %.0f us here\n", tick, yardstick);
    EXPECT_LT(tick, 10 * yardstick);
    EXPECT_EQ(descriptorsAndWhat(), before); // also which: nothing is opened anew

    const std::string details = "/tmp/details";
    const auto output =
        outputAsUser({"./ambrel", "scan", "--only", "network", "--quiet", "--details", details});
    const auto data = JSONValue::parse(output, nullptr, false);
    ASSERT_TRUE(data.is_object()) << output;
    EXPECT_EQ(data.at("ip"), "192.0.2.7");
    EXPECT_EQ(data.at("wifiNetwork").dump(),
              R"({"connectedDevices":[{"name":"one"},{"name":"other"}]})");
    std::ifstream lines(details);
    EXPECT_THAT(
        std::string(std::istreambuf_iterator<char>(lines), {}),
        AllOf(HasSubstr(R"("interface":"wlan3","ip":"192.0.2.7")"),
              HasSubstr(R"([{"bssid":"02:00:00:00:00:00","frequency":2412,"interface":"wlan2",)"
                        R"("name":"one"},{"bssid":"02:00:00:00:01:00","frequency":2437,)"
                        R"("interface":"wlan3","name":"other"}])")));
}

TEST_F(WiFi, ListensWithoutANetworkUnlessRfkillBlocksEveryRadio) {
    const auto unjoined = [] {
        const SourceCondition condition = Linux::withoutNetwork({"wlan2", "wlan3"});
        return condition.means + condition.code;
    };
    const auto block = [](const std::string& radios, const char* as) {
        shell("for radio in /sys/class/net/" + radios + "/phy80211/rfkill*; do echo " + as +
              " >$radio/soft; done");
    };
    EXPECT_EQ(unjoined(), "wlan2");
    block("wlan2", "1");
    EXPECT_EQ(unjoined(), "wlan3");
    block("wlan*", "1");
    EXPECT_EQ(unjoined(), "blocked");
    block("wlan*", "0");
    EXPECT_EQ(unjoined(), "wlan2");
    EXPECT_EQ(Linux::withoutNetwork({}).means, "nl80211") << "a station may be made yet";
}

} // namespace
