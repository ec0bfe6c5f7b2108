#include <AmbrelKit/AmbrelPermissionStatus.hpp>
#include <AmbrelKit/Difference.hpp>
#include <AmbrelKit/Platform/UUID.hpp>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <unordered_map>
#include <vector>

// The example of the header.
namespace Host {

enum class Unit { celsius, kelvin };

struct Sensor {
    std::string serial;
    std::optional<double> reading;
    Unit unit;
};

void describe(AmbrelKit::Description& into, Unit unit) {
    into.word(unit == Unit::celsius ? "celsius" : "kelvin");
}

void describe(AmbrelKit::Description& into, const Sensor& sensor) {
    into.key("serial", sensor.serial).field("reading", sensor.reading).field("unit", sensor.unit);
}

struct Word {
    const char* word;
};

void describe(AmbrelKit::Description& into, Word word) { into.word(word.word); }

struct Chain {
    const Chain* next;
};

void describe(AmbrelKit::Description& into, const Chain& chain) { into.field("next", chain.next); }

} // namespace Host

namespace AmbrelKit {
namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;

JSONValue json(const char* text) { return JSONValue::parse(text); }

TEST(Difference, ReadsAsThis) {
    const struct {
        const char* before;
        const char* after;
        const char* text;
    } cases[] = {
        // The example of the header.
        {R"({"bleScan": [
               {"address": "00000000-0000-4000-8000-000000000001", "name": "Lamp", "timestamp": 1700000003},
               {"address": "00000000-0000-4000-8000-000000000002", "name": "Caf\u00e9\u200b"}],
             "same": [1, {"a": 2}], "txt": ["a", 5]})",
         R"({"bleScan": [{"address": "00000000-0000-4000-8000-000000000002", "name": "Watch"}],
             "ip": "192.0.2.7", "same": [1, {"a": 2}], "txt": ["a", 5.0]})",
         R"(  bleScan:
-   [address: "00000000-0000-4000-8000-000000000001"]:
-     name: "Lamp"
-     timestamp: 1700000003
    [address: "00000000-0000-4000-8000-000000000002"]:
-     name: "Café\u{200b}"
+     name: "Watch"
+ ip: "192.0.2.7"
  txt:
-   [1]: 5
+   [1]: 5.0
)"},
        {"5", "5.0", "- 5\n+ 5.0\n"},
        {"{}", "[]", "- {}\n+ []\n"},
        {R"({"a": null, "b": "", "c": 0.0})", R"({"b": null, "c": -0.0})",
         "- a: null\n- b: \"\"\n+ b: null\n- c: 0.0\n+ c: -0.0\n"},
        {R"({"a": {}, "b c": [1]})", R"({"a": {"x": {"y": []}}, "b c": {"0": 1}})",
         "  a:\n+   x:\n+     y: []\n- \"b c\":\n-   [0]: 1\n+ \"b c\":\n+   0: 1\n"},
        {"[0.1, 100000000000000000000, 18446744073709551615]",
         "[0.10000000000000002, 1e21, 18446744073709551614]",
         "- [0]: 0.1\n+ [0]: 0.10000000000000002\n- [1]: 1e+20\n+ [1]: 1e+21\n"
         "- [2]: 18446744073709551615\n+ [2]: 18446744073709551614\n"},
        // Invisible, canonically equivalent and commanding characters.
        {R"(["caf\u00e9", "\u212b", "a\u00ad", "\u001b[2J\u202e", "\\n\"", "\u2800"])",
         R"(["cafe\u0301", "\u00c5", "a", "\r\t\u009b\ufe0f", "\n", " "])",
         R"(- [0]: "café"
+ [0]: "cafe\u{301}"
- [1]: "\u{212b}"
+ [1]: "Å"
- [2]: "a\u{ad}"
+ [2]: "a"
- [3]: "\u{1b}[2J\u{202e}"
+ [3]: "\r\t\u{9b}\u{fe0f}"
- [4]: "\\n\""
+ [4]: "\n"
- [5]: "\u{2800}"
+ [5]: " "
)"},
        // One that is gone, or another order, shifts nothing.
        {"[1, 2, 3, 4, 5]", "[1, 3, 4, 6, 5]", "- [1]: 2\n+ [3]: 6\n"},
        {R"([{"a": 1, "b": 1}, 2, 3])", R"([2, {"a": 1, "b": 2}, 3])",
         "- [0]:\n-   a: 1\n-   b: 1\n+ [1]:\n+   a: 1\n+   b: 2\n"},
        {R"([2, 7, {"a": 1, "b": 1}])", R"([2, {"a": 1, "b": 2}])",
         "- [1]: 7\n- [2]:\n-   a: 1\n-   b: 1\n+ [1]:\n+   a: 1\n+   b: 2\n"},
        {R"([7, {"a": 1, "b": 1}, 8])", R"([8, {"a": 1, "b": 2}, 8])",
         "- [0]: 7\n+ [0]: 8\n  [1]:\n-   b: 1\n+   b: 2\n"},
        {R"([{"name": "A", "protocolType": "_x._tcp.", "address": "1"},
             {"name": "B", "protocolType": "_x._tcp."}, {"name": "A", "protocolType": "_x._tcp."}, 1])",
         R"([1, {"name": "A", "protocolType": "_x._tcp.", "address": "2"},
             {"name": "A", "protocolType": "_x._tcp.", "port": 1}])",
         R"(  [name: "A", protocolType: "_x._tcp."]:
-   address: "1"
+   address: "2"
- [name: "B", protocolType: "_x._tcp."]
  [name: "A", protocolType: "_x._tcp."]:
+   port: 1
~ in another order
)"},
        {R"([{"address": "1"}, {"address": "2"}])", R"([{"address": "2"}, {"address": "1"}])",
         "~ in another order\n"},
    };
    for (const auto& [before, after, text] : cases) {
        EXPECT_EQ(difference(json(before), json(after)), text);
        EXPECT_EQ(difference(json(before), json(before)), "");
    }
    EXPECT_EQ(difference(json(cases[2].before), json("{}"), {.keepsEqualParts = true}), "");
    EXPECT_EQ(difference(json(R"({"a": [1, 2], "b": [{"address": "x", "n": 1}]})"),
                         json(R"({"a": [2], "b": [{"address": "x", "n": 1}]})"),
                         {.keepsEqualParts = true}),
              "  a:\n-   [0]: 1\n    [1 -> 0]: 2\n  b:\n    [address: \"x\"]:\n      n: 1\n");
}

/// What nobody can tell apart, told by the values' numbers; of different numbers all differ.
template <class Value> void expectToTellApart(const std::vector<Value>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (std::size_t j = 0; j < values.size(); ++j) {
            const std::string text = difference(values[i], values[j]);
            EXPECT_EQ(text.empty(), i == j) << i << ", " << j << "\n" << text;
        }
    }
}

TEST(Difference, TellsApartWhatDiffersAndNothingElse) {
    const double nan = std::nan("");
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(difference(nan, -nan), "");
    expectToTellApart<double>({nan, infinity, -infinity, 0.0, -0.0, 0.1, 0x1p-1074, 1e22});
    expectToTellApart<float>({0.1F, 0.1F + 0x1p-27F});
    expectToTellApart<std::int8_t>({-128, 0, 127});
    expectToTellApart<bool>({false, true});
    expectToTellApart<const char*>({nullptr, "", "a"});
    expectToTellApart<std::string>(
        {"", std::string(1, '\0'), "\xFF", "\xFE", "\\xff", "\uFFFD", "null", "K", "\u212A"});
    expectToTellApart<std::filesystem::path>({"", "/a", "/a/"});
    expectToTellApart<std::optional<std::string>>({std::nullopt, "", "absent"});
    expectToTellApart<std::optional<std::vector<int>>>({std::nullopt, {{}}, {{0}}, {{0, 0}}});
    expectToTellApart<std::variant<std::monostate, int, double, Host::Chain>>(
        {{}, 1, 1.0, Host::Chain{}});
    expectToTellApart<std::vector<bool>>({{}, {false}, {true}});
    expectToTellApart<std::pair<int, std::tuple<>>>({{1, {}}, {2, {}}});
    expectToTellApart<std::map<UUID, int>>(
        {{}, {{UUID(), 1}}, {{UUID(), 2}}, {{UUID::random(), 1}}});
    expectToTellApart<std::map<std::pair<int, std::string>, int>>(
        {{}, {{{1, "a"}, 1}}, {{{1, "b"}, 1}}, {{{1, "a"}, 2}}});
    expectToTellApart<std::map<std::string, std::string>>(
        {{}, {{"", ""}}, {{"a", ""}}, {{"a", "a"}}});
    expectToTellApart<std::chrono::nanoseconds>({0ns, 1ns, 1s, -1s});
    expectToTellApart<std::chrono::system_clock::time_point>(
        {{},
         std::chrono::system_clock::time_point(1us),
         std::chrono::system_clock::time_point(-1us),
         std::chrono::system_clock::time_point::min()});
    expectToTellApart<AmbrelPermissionStatus>({AmbrelPermissionStatus::granted,
                                               AmbrelPermissionStatus::denied,
                                               AmbrelPermissionStatus(7)});
    expectToTellApart<JSONValue>({nullptr,
                                  false,
                                  0,
                                  0.0,
                                  "",
                                  "0",
                                  JSONValue::array(),
                                  JSONValue::object(),
                                  {nullptr},
                                  {{"", nullptr}},
                                  JSONValue::binary({}),
                                  JSONValue::binary({}, 1)});
    const std::unordered_map<int, int> grown{{1, 1}, {2, 2}, {3, 3}};
    std::unordered_map<int, int> other(1000); // in another order
    other.insert(grown.begin(), grown.end());
    EXPECT_EQ(difference(grown, other), "");
    const auto hash = [](const std::pair<int, int>& key) { return std::size_t(key.first); };
    std::unordered_map<std::pair<int, int>, int, decltype(hash)> pairs(1, hash);
    pairs = {{{1, 5}, 0}, {{2, 5}, 0}, {{3, 5}, 0}};
    EXPECT_EQ(difference(pairs, decltype(pairs)(pairs.begin(), pairs.end(), 1000, hash)), "");
}

TEST(Difference, ShowsWhatAHostDescribes) {
    using namespace Host;
    const std::vector<Sensor> before{{"a", 20.5, Unit::celsius}, {"b", {}, Unit::celsius}};
    const std::vector<Sensor> after{{"b", 293.0, Unit::kelvin}};
    EXPECT_EQ(difference(before, after),
              "- [serial: \"a\"]:\n-   reading: 20.5\n-   unit: celsius\n"
              "  [serial: \"b\"]:\n-   reading: absent\n+   reading: 293.0\n"
              "-   unit: celsius\n+   unit: kelvin\n");
    EXPECT_EQ(difference(before[0], after[0]),
              "- serial: \"a\"\n+ serial: \"b\"\n- reading: 20.5\n"
              "+ reading: 293.0\n- unit: celsius\n+ unit: kelvin\n");
    const std::chrono::system_clock::time_point time(1'700'000'000'500ms);
    EXPECT_EQ(difference(time, time - 1700000001s),
              "- 2023-11-14T22:13:20.5Z\n+ 1969-12-31T23:59:59.5Z\n");
    const std::chrono::sys_time<std::chrono::milliseconds> early(-100'000'000'000'250ms);
    EXPECT_EQ(difference(Word{"\033\n"}, Word{"a b"}), "- \\u001b\\u000a\n+ a b\n");
    EXPECT_EQ(difference(early, nullptr), "- -100000000000.25 s after 1970\n+ absent\n");
    EXPECT_EQ(difference(std::map<std::pair<int, Unit>, int>{{{1, Unit::kelvin}, 2}},
                         std::map<Sensor*, int>{{nullptr, 0}}),
              "- [1, kelvin]: 2\n+ absent: 0\n");
    const std::map<int, int, std::greater<>> falling{{1, 1}, {2, 2}};
    EXPECT_EQ(difference(falling, std::map<int, int>(falling.begin(), falling.end())),
              "~ in another order\n");
    EXPECT_EQ(difference(std::chrono::sys_days(std::chrono::year(12000) / 1 / 1), time,
                         {.greatestLength = 30}),
              "- 316516204800 s after 1970\n~ more than 30 bytes of text: the rest is left out\n");
}

TEST(Difference, WhatIsTooDeepOrTooMuchIsSaid) {
    const auto nested = [](int depth, JSONValue value) {
        while (depth-- > 0) {
            JSONValue array = JSONValue::array();
            array.push_back(std::move(value));
            value = std::move(array);
        }
        return value;
    };
    EXPECT_THAT(difference(nested(65, 1), nested(65, 2)), HasSubstr(" [0]: 2\n"));
    EXPECT_THAT(difference(nested(66, 1), nested(66, 2)),
                EndsWith(" [0]: different, deeper than is shown\n"));
    EXPECT_EQ(difference(nested(512, 1), nested(512, 1)), "");
    EXPECT_THAT(difference(nested(512, 1), nested(512, 2)), HasSubstr("deeper than is shown"));
    EXPECT_EQ(difference(json(R"({"a": {"b": 1}, "c": 1})"), json(R"({"a": {}, "d": {"e": 1}})"),
                         {.greatestDepth = 0}),
              "~ a: different, deeper than is shown\n- c: 1\n+ d: {...}\n");
    const std::string cut = "~ more than 1048576 parts or 512 levels: the rest is not compared\n";
    EXPECT_EQ(difference(nested(100'000, 1), nested(100'000, 2)), cut);
    Host::Chain circle{};
    circle.next = &circle;
    EXPECT_EQ(difference(circle, circle), cut);
    const std::vector<int> three{1, 2, 3};
    EXPECT_EQ(difference(three, std::vector{1, 2, 4}, {.greatestCount = 3}),
              "- [2]: 3\n+ [2]: 4\n");
    for (const std::size_t count : {0, 2}) {
        EXPECT_EQ(difference(three, std::vector{1, 2}, {.greatestCount = count}),
                  "~ more than " + std::to_string(count) +
                      " parts or 512 levels: the rest is not compared\n");
    }
    const std::string endless(100, 'x');
    EXPECT_EQ(difference(endless, "y", {.greatestLength = 50}),
              "~ more than 50 bytes of text: the rest is left out\n");
}

} // namespace
} // namespace AmbrelKit
