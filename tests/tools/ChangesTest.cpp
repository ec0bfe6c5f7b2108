#include "tools/ambrel/Collecting/Changes.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace Ambrel {
namespace {

using namespace AmbrelKit;

struct Round {
    const char* what;
    const char* collection;
    std::vector<Source> away = {}; ///< do not listen
    SourceState state = SourceState::unavailable;
    const char* lines = ""; ///< for people
};

std::vector<SourceReport> reports(const Round& round) {
    std::vector<SourceReport> reports;
    for (const Source source : allSources) {
        const bool away = std::ranges::find(round.away, source) != round.away.end();
        reports.push_back(
            {.source = source,
             .condition = {},
             .since = {},
             .collection = {.outcome = away ? SourceOutcome::failed : SourceOutcome::listened,
                            .failure = {.state = away ? round.state : SourceState::idle}}});
    }
    return reports;
}

const Round rounds[] = {
    {"the first is the base",
     R"({"timestamp": 0, "ip": "192.0.2.7",
        "bleScan": [{"address": "00000000-0000-4000-8000-00000000000A", "timestamp": 1}],
        "nearbyDevices": [{"name": "Cafe\u0301", "protocolType": "_ipp._tcp.", "address": "192.0.2.9",
                           "txtRecord": {"a": "1", "b": "2"}, "timestamp": 3}]})",
     {},
     {},
     "+ 1970-01-01 05:30:00+05:30  peripheral  00000000-0000-4000-8000-00000000000A\n"
     "+ 1970-01-01 05:30:00+05:30  service     Cafe\u0301  _ipp._tcp.  192.0.2.9\n"
     "+ 1970-01-01 05:30:00+05:30  address     192.0.2.7\n"},
    {"another spelling and time are no change", R"({"timestamp": 10, "ip": "192.0.2.7",
        "bleScan": [{"address": "00000000-0000-4000-8000-00000000000A", "timestamp": 11}],
        "nearbyDevices": [{"name": "Caf\u00E9", "protocolType": "_ipp._tcp.", "address": "192.0.2.9",
                           "txtRecord": {"a": "1", "b": "2"}, "timestamp": 13}]})"},
    {"who does not listen has not seen anything go",
     R"({"timestamp": 20, "bleScan": [],
        "nearbyDevices": []})",
     {Source::bluetooth, Source::services, Source::wifi, Source::address},
     SourceState::refused},
    {"fields that differ alone are told, each part since it was known",
     R"({"timestamp": 30, "wifiNetwork": {"connectedDevices": [{"name": "home"}, {"name": "home"}]},
        "bleScan": [{"address": "00000000-0000-4000-8000-00000000000A", "name": "a\u001b", "timestamp": 11}],
        "nearbyDevices": [{"name": "Caf\u00E9", "protocolType": "_ipp._tcp.",
                           "txtRecord": {"a": "1", "b": "3", "c": "/"}, "timestamp": 13}]})",
     {Source::address},
     SourceState::unavailable, // without a network there is no address, and that is known
     "~ 1970-01-01 05:30:30+05:30  peripheral  00000000-0000-4000-8000-00000000000A  name - -> "
     "a\\u001b\n"
     "~ 1970-01-01 05:30:30+05:30  service     Café  _ipp._tcp.  address 192.0.2.9 -> -, "
     "b 2 -> 3, c - -> /\n"
     "+ 1970-01-01 05:30:30+05:30  network     home\n"
     "- 1970-01-01 05:30:30+05:30  address     192.0.2.7\n"},
    {"an entry that goes is told by its key",
     R"({"timestamp": 35, "wifiNetwork": {"connectedDevices": [{"name": "home"}]},
        "bleScan": [{"address": "00000000-0000-4000-8000-00000000000A", "name": "a\u001b"}],
        "nearbyDevices": [{"name": "Caf\u00E9", "protocolType": "_ipp._tcp.",
                           "txtRecord": {"b": "3", "c": "/"}}]})",
     {},
     {},
     "~ 1970-01-01 05:30:35+05:30  service     Café  _ipp._tcp.  a 1 -> -\n"},
    {"what goes, goes with what was known of it",
     R"({"timestamp": 40, "bleScan": [], "nearbyDevices": []})",
     {},
     {},
     "- 1970-01-01 05:30:40+05:30  peripheral  a\\u001b  00000000-0000-4000-8000-00000000000A\n"
     "- 1970-01-01 05:30:40+05:30  service     Café  _ipp._tcp.\n"
     "- 1970-01-01 05:30:40+05:30  network     home\n"},
};

TEST(ChangesTest, FromOneCollectionToTheNext) {
    setenv("TZ", "IST-5:30", 1);
    Changes changes;
    std::string written;
    for (const Round& round : rounds) {
        const auto collection = JSONValue::parse(round.collection).get<JSONDictionary>();
        std::string lines;
        for (const Change& change : changes.next(collection, reports(round))) {
            written += change.dump() + "\n";
            lines += line(change, {}) + "\n";
        }
        EXPECT_EQ(lines, round.lines) << round.what;
        EXPECT_TRUE(changes.next(collection, {}).empty()) << "delivered again";
    }
    std::stringstream kept; // what the schema's test reads, too
    kept << std::ifstream(AMBREL_TESTS "/changes.jsonl").rdbuf();
    EXPECT_EQ(written, kept.str());
}

} // namespace
} // namespace Ambrel
