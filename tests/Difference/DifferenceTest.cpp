#include <AmbrelKit/AmbrelPermissionStatus.hpp>
#include <AmbrelKit/Difference.hpp>
#include <AmbrelKit/Platform/UUID.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
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
    expectToTellApart<std::pair<int, std::tuple<>>>({{1, {}}, {2, {}}});
    expectToTellApart<std::map<UUID, int>>(
        {{}, {{UUID(), 1}}, {{UUID(), 2}}, {{UUID::random(), 1}}});
    expectToTellApart<std::map<std::string, std::string>>(
        {{}, {{"", ""}}, {{"a", ""}}, {{"a", "a"}}});
    expectToTellApart<std::chrono::nanoseconds>({0ns, 1ns, 1s, -1s});
    expectToTellApart<std::chrono::system_clock::time_point>(
        {{},
         std::chrono::system_clock::time_point(1us),
         std::chrono::system_clock::time_point(-1us)});
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
    const std::string cut = "~ more than 1048576 values or 512 levels: the rest is not compared\n";
    EXPECT_EQ(difference(nested(100'000, 1), nested(100'000, 2)), cut);
    Host::Chain circle{};
    circle.next = &circle;
    EXPECT_EQ(difference(circle, circle), cut);
    const std::vector<bool> many((std::size_t{1} << 20U) + 1);
    EXPECT_THAT(difference(many, std::vector<bool>(), {.greatestLength = 50}), EndsWith(cut));
    const std::string endless(100, 'x');
    EXPECT_EQ(difference(endless, "y", {.greatestLength = 50}),
              "~ more than 50 bytes of text: the rest is left out\n");
}

/// How many lines there are, each of an element that was removed or added.
std::ptrdiff_t changes(const std::vector<int>& before, const std::vector<int>& after) {
    const std::string text = difference(before, after);
    return std::count(text.begin(), text.end(), '\n');
}

TEST(Difference, ALongListIsComparedByWhatItHasInCommon) {
    std::vector<int> counted(50'000);
    std::iota(counted.begin(), counted.end(), 0);
    std::vector<int> fewer(counted.begin() + 5'000, counted.end());
    EXPECT_EQ(changes(counted, fewer), 5'000); // beyond what is compared exactly
    fewer.erase(fewer.begin() + 20'000, fewer.begin() + 21'000);
    EXPECT_EQ(changes(counted, fewer), 6'000);
    std::vector<int> halved = counted;
    for (std::size_t i = 0; i < halved.size(); i += 2) {
        halved[i] = -halved[i] - 1;
    }
    EXPECT_EQ(changes(counted, halved), 50'000);
    // Nothing is there once only; the shortest answer is not promised.
    std::vector<int> few(50'000);
    std::vector<int> others(50'000);
    for (std::size_t i = 0; i < few.size(); ++i) {
        few[i] = static_cast<int>(i * i % 7 % 3);
        others[i] = static_cast<int>(i * i % 11 % 3);
    }
    EXPECT_LT(changes(few, others), 80'000);
    EXPECT_EQ(changes(few, few), 0);
}

TEST(Difference, FindsTheShortestAnswerToAShortList) {
    const auto shortest = [](const std::vector<int>& a, const std::vector<int>& b) {
        std::vector<std::vector<int>> common(a.size() + 1, std::vector<int>(b.size() + 1));
        for (std::size_t i = a.size(); i-- > 0;) {
            for (std::size_t j = b.size(); j-- > 0;) {
                common[i][j] = a[i] == b[j] ? common[i + 1][j + 1] + 1
                                            : std::max(common[i + 1][j], common[i][j + 1]);
            }
        }
        return static_cast<std::ptrdiff_t>(a.size() + b.size()) - 2 * common[0][0];
    };
    unsigned seed = 1;
    const auto random = [&seed](unsigned below) {
        seed = seed * 1103515245U + 12345U;
        return (seed >> 16U) % below;
    };
    for (int round = 0; round < 2'000; ++round) {
        std::vector<int> a(random(12));
        std::vector<int> b(random(12));
        for (auto* list : {&a, &b}) {
            std::generate(list->begin(), list->end(), [&] { return static_cast<int>(random(4)); });
        }
        ASSERT_EQ(changes(a, b), shortest(a, b)) << round;
    }
}

} // namespace
} // namespace AmbrelKit
