#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Simulated/Platform.hpp"
#include "tests/support/Alike.hpp"

#include <gtest/gtest.h>

namespace AmbrelKit {
namespace {

TEST(NetworkEnvironment, TakesTheFirstIPv4EntryOfASupportedName) {
    struct Row {
        std::vector<Simulated::InterfaceAddress> entries;
        std::optional<std::string> address;
    };
    const Row rows[] = {
        {{}, std::nullopt},
        {{{"pdp_ip0", "192.0.2.1"}, {"en0", "192.0.2.2"}}, "192.0.2.1"},
        {{{"en0", "2001:db8::1"}, {"en2", "192.0.2.3"}}, "192.0.2.3"},
        {{{"lo0", "127.0.0.1"}, {"en5", "192.0.2.4"}, {"EN0", "192.0.2.5"}, {"en0 ", "192.0.2.6"}},
         std::nullopt},
        {{{"en1", std::nullopt}, {"en1", "192.0.2.8"}}, "192.0.2.8"},
        {{{"en\xFF", "192.0.2.9"}}, std::nullopt},
    };
    for (const Row& row : rows) {
        Simulated::NetworkState network;
        network.setInterfaces(row.entries);
        EXPECT_EQ(NetworkEnvironment::addressIPv4Among(network.interfaces()), row.address);
    }
    sockaddr address{};
    address.sa_family = AF_INET;
    ifaddrs nameless{};
    nameless.ifa_addr = &address;
    EXPECT_EQ(NetworkEnvironment::addressIPv4Among(&nameless), std::nullopt);
}

TEST(NetworkEnvironment, ListsTheNetworksThatAreDescribed) {
    struct Row {
        const char* supported;
        const char* info;
        const char* expected; ///< interface, name and access point, null where absent
    };
    const Row rows[] = {
        {"null", "{}", "[]"},
        {R"(["en0", 3])", R"({"en0": {"SSID": "home"}})", "[]"},
        {R"({"en0": 1})", R"({"en0": {"SSID": "home"}})", "[]"},
        {R"(["en0", "en1"])", R"({"en1": {"SSID": "home", "other": 1}})",
         R"([["en1", "home", null]])"},
        {R"(["en1", "en0"])", R"({"en0": {}, "en1": {"SSID": ["x"], "BSSID": "aa"}})",
         R"([["en1", null, "aa"], ["en0", null, null]])"},
        {R"(["en0", "en1"])", R"({"en0": "text", "en1": ["SSID"]})", "[]"},
    };
    EXPECT_EQ(NetworkEnvironment::shared().networkInfo(), WifiNetwork{}) << "nothing answers";
    Simulated::Platform platform;
    for (const Row& row : rows) {
        platform.network().setCaptiveNetwork(JSONValue::parse(row.supported),
                                             JSONValue::parse(row.info).get<JSONDictionary>());
        const auto orNull = [](const std::optional<Text>& text) {
            return text ? JSONValue(text->string()) : JSONValue();
        };
        JSONValue hosts = JSONValue::array();
        const WifiNetwork network = NetworkEnvironment::shared().networkInfo().value();
        for (const WifiNetworkHost& host : network.connectedDevices) {
            hosts.push_back(
                JSONValue::array({host.interface.string(), orNull(host.ssid), orNull(host.bssid)}));
        }
        EXPECT_TRUE(alike(hosts, JSONValue::parse(row.expected))) << row.supported << row.info;
    }
}

} // namespace
} // namespace AmbrelKit
