#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"

#include <arpa/inet.h>
#include <deque>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <string>
#include <vector>

namespace AmbrelKit {
namespace {

/// An interface-address list as the system would give it.
class AddressList {
public:
    struct Entry {
        const char* name;
        const char* address; ///< IPv4 or IPv6, or null
    };

    explicit AddressList(const std::vector<Entry>& entries) {
        for (const Entry& entry : entries) {
            ifaddrs& node = nodes_.emplace_back();
            node.ifa_name = const_cast<char*>(entry.name);
            node.ifa_addr = address(entry.address);
            if (nodes_.size() > 1) {
                nodes_[nodes_.size() - 2].ifa_next = &node;
            }
        }
    }

    [[nodiscard]] const ifaddrs* head() const { return nodes_.empty() ? nullptr : &nodes_.front(); }

private:
    sockaddr* address(const char* text) {
        if (text == nullptr) {
            return nullptr;
        }
        auto& storage = addresses_.emplace_back();
        auto& four = reinterpret_cast<sockaddr_in&>(storage);
        if (inet_pton(AF_INET, text, &four.sin_addr) == 1) {
            four.sin_family = AF_INET;
        } else {
            reinterpret_cast<sockaddr_in6&>(storage).sin6_family = AF_INET6;
        }
        return reinterpret_cast<sockaddr*>(&storage);
    }

    std::deque<ifaddrs> nodes_;
    std::deque<sockaddr_storage> addresses_;
};

TEST(NetworkEnvironment, TakesTheFirstIPv4EntryOfASupportedName) {
    struct Row {
        std::vector<AddressList::Entry> entries;
        std::optional<std::string> address;
    };
    const Row rows[] = {
        {{}, std::nullopt},
        {{{"pdp_ip0", "192.0.2.1"}, {"en0", "192.0.2.2"}}, "192.0.2.1"},
        {{{"en0", "2001:db8::1"}, {"en2", "192.0.2.3"}}, "192.0.2.3"},
        {{{"lo0", "127.0.0.1"}, {"en5", "192.0.2.4"}, {"EN0", "192.0.2.5"}, {"en0 ", "192.0.2.6"}},
         std::nullopt},
        {{{nullptr, "192.0.2.7"}, {"en1", nullptr}, {"en1", "192.0.2.8"}}, "192.0.2.8"},
        {{{"en\xFF", "192.0.2.9"}}, std::nullopt},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(NetworkEnvironment::addressIPv4Among(AddressList(row.entries).head()),
                  row.address);
    }
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
    auto& captive = CaptiveNetwork::shared();
    const auto before = captive;
    for (const Row& row : rows) {
        captive.supportedInterfaces = [&]() -> std::optional<JSONValue> {
            auto value = JSONValue::parse(row.supported);
            return value.is_null() ? std::nullopt : std::optional(value);
        };
        captive.currentNetworkInfo =
            [&](const std::string& name) -> std::optional<JSONValue> {
            const auto info = JSONValue::parse(row.info);
            return info.contains(name) ? std::optional(info.at(name)) : std::nullopt;
        };
        const auto orNull = [](const std::optional<Text>& text) {
            return text ? JSONValue(text->string()) : JSONValue();
        };
        JSONValue hosts = JSONValue::array();
        const WifiNetwork network = NetworkEnvironment::shared().networkInfo().value();
        for (const WifiNetworkHost& host : network.connectedDevices) {
            hosts.push_back(
                JSONValue::array({host.interface.string(), orNull(host.ssid), orNull(host.bssid)}));
        }
        EXPECT_EQ(hosts, JSONValue::parse(row.expected)) << row.supported << row.info;
    }
    captive = before;
    EXPECT_EQ(NetworkEnvironment::shared().networkInfo(), WifiNetwork{}) << "by default nothing answers";
}

} // namespace
} // namespace AmbrelKit
