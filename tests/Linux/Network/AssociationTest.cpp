#include "AmbrelKit/Linux/Network/Association.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <linux/netlink.h>
#include <linux/nl80211.h>
#include <vector>

namespace AmbrelKit::Linux {
namespace {

using namespace std::string_literals;

/// One attribute as the kernel lays it out.
std::string attribute(int type, const std::string& payload) {
    nlattr header{};
    header.nla_type = static_cast<std::uint16_t>(type);
    header.nla_len = static_cast<std::uint16_t>(NLA_HDRLEN + payload.size());
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
    bytes += payload;
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
}

std::string number(std::uint32_t value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::string element(char type, const std::string& content) {
    return std::string{type, static_cast<char>(content.size())} + content;
}

const std::string here = attribute(NL80211_BSS_BSSID, "\x02\x00\x5E\x10\x00\xFF"s);
const std::string there = attribute(NL80211_BSS_BSSID, "\x02\x00\x5E\x10\x00\x01"s);
const std::string associated = attribute(NL80211_BSS_STATUS, number(NL80211_BSS_STATUS_ASSOCIATED));

std::string answered(const std::string& elements) {
    return attribute(NL80211_BSS_INFORMATION_ELEMENTS, elements);
}

std::string named(const std::string& name) { return answered(element(0, name)); }

/// What is told after these results: the name, the access point and its frequency, or "none".
std::string told(const std::vector<std::string>& results) {
    AssociationSearch search;
    for (const std::string& result : results) {
        const std::vector<char> copy(result.begin(),
                                     result.end()); // so that a sanitizer sees its end
        search.add(std::as_bytes(std::span(copy)));
    }
    const auto network = search.result();
    if (!network) {
        return "none";
    }
    return network->ssid.value_or("?") + " at " + network->bssid +
           (network->frequency ? " on " + std::to_string(*network->frequency) : "");
}

TEST(Association, IsTheAccessPointThatTheKernelMarks) {
    const std::string at = " at 02:00:5e:10:00:ff";
    const std::string zeros(7, '\0');
    const std::string longest(32, 'x');
    const std::string ibss = attribute(NL80211_BSS_STATUS, number(NL80211_BSS_STATUS_IBSS_JOINED));
    const std::string authenticated =
        attribute(NL80211_BSS_STATUS, number(NL80211_BSS_STATUS_AUTHENTICATED));
    const auto beacon = [](const std::string& elements) {
        return attribute(NL80211_BSS_BEACON_IES, elements);
    };
    const struct {
        const char* what;
        std::vector<std::string> results;
        std::string told;
    } rows[] = {
        {"no result", {}, "none"},
        {"one among others", {there + named("b"), here + named("a") + associated}, "a" + at},
        {"on its frequency",
         {there + named("b") + attribute(NL80211_BSS_FREQUENCY, number(5180)),
          here + named("a") + associated + attribute(NL80211_BSS_FREQUENCY, number(2412))},
         "a" + at + " on 2412"},
        {"left, still listed", {here + named("a"), there + named("b")}, "none"},
        {"not joined yet", {here + named("a") + authenticated, there + ibss}, "none"},
        {"hidden, heard by name before",
         {here + named("a"), here + named("") + associated},
         "a" + at},
        {"and after",
         {here + named(zeros) + associated, there + named("b"), here + named("a")},
         "a" + at},
        {"its own name first", {here + named("old"), here + named("a") + associated}, "a" + at},
        {"never heard by name", {here + named(zeros) + associated, there + named("b")}, "?" + at},
        {"named in its beacon",
         {here + named("") + beacon(element(0, "a")) + associated},
         "a" + at},
        {"no elements", {here + associated}, "?" + at},
        {"after other elements",
         {here + answered(element(1, "xyz") + element(0, "a")) + associated},
         "a" + at},
        {"of the longest name", {here + named(longest) + associated}, longest + at},
        {"of a name too long", {here + named(longest + "x") + associated}, "?" + at},
        {"of raw bytes", {here + named("a\0\xE2\x82"s) + associated}, "a\0\uFFFD"s + at},
        {"elements cut short", {here + answered("\0\5abc"s) + associated}, "?" + at},
        {"an element's head cut", {here + answered("\1\1x\0"s) + associated}, "?" + at},
        {"two links, the first told",
         {here + named("a") + associated, there + named("a") + associated},
         "a" + at},
        {"no address", {named("a") + associated}, "none"},
        {"an address cut short", {attribute(NL80211_BSS_BSSID, "\2\0"s) + associated}, "none"},
        {"a status cut short", {here + attribute(NL80211_BSS_STATUS, "\1"s)}, "none"},
        {"attributes cut short", {(here + named("a") + associated).substr(0, 17)}, "none"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(told(row.results), row.told) << row.what;
    }
}

} // namespace
} // namespace AmbrelKit::Linux
