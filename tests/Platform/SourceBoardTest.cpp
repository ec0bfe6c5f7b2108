#include "AmbrelKit/Platform/SourceBoard.hpp"
#include "tests/support/Alike.hpp"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using enum SourceState;

const SourceCondition starts{.state = starting};
const SourceCondition listens{.state = listening, .means = "BlueZ, hci0"};
const SourceCondition isOff{
    .state = off, .code = "switched-off", .reason = "hci0 is switched off", .remedy = "switch on"};
const SourceCondition gone{
    .state = unavailable, .code = "no-daemon", .reason = "bluetoothd is not running"};

/// A board whose clock is moved by hand, with the collections of two kits.
struct Board {
    void at(std::chrono::milliseconds time) { now = time; }
    void is(const SourceCondition& condition, Source source = Source::bluetooth) const {
        board->publish(source, condition);
    }
    void begin(std::size_t kit = 0) { collections.at(kit) = timers(1, true, {}); }
    void end(std::size_t kit = 0) { collections.at(kit)->invalidate(); }
    [[nodiscard]] SourceReport report(Source source = Source::bluetooth) const {
        return reader->report(source);
    }

    struct NoTimer : Timer {
        void invalidate() override {}
    };

    std::chrono::nanoseconds now{};
    int notes = 0;
    std::shared_ptr<SourceBoard> board = std::make_shared<SourceBoard>(SourceBoard::Clock{
        .elapsed = [this] { return now; },
        .date = [this] { return std::chrono::system_clock::time_point(1000s + now); }});
    std::shared_ptr<SourceReports> reader = board->reports([this] { ++notes; });
    TimerFactory timers = board->collectionTimers(
        [](double, bool, const TimerTick&) { return std::make_shared<NoTimer>(); });
    std::array<std::shared_ptr<Timer>, 2> collections;
};

/// For the test of the schema.
void keep(const JSONDictionary& dictionary) {
    if (const char* file = std::getenv("AMBREL_TEST_OUTCOMES")) {
        std::ofstream(file, std::ios::app) << JSONValue(dictionary).dump() << "\n";
    }
}

TEST(SourceBoard, accountsForACollection) {
    struct Case {
        const char* name;
        void (*happens)(Board&);
        const char* account; ///< without what is known now
        const char* shortfall;
    };
    for (const Case& c : std::vector<Case>{
             {"nobody asks", [](Board& b) { b.begin(); }, R"({"outcome":"not-asked","reports":0})",
              ""},
             {"it listens, from a while after the beginning on",
              [](Board& b) {
                  b.begin();
                  b.is(starts);
                  b.at(2s);
                  b.is(listens);
                  b.board->count(Source::bluetooth);
                  b.board->count(Source::bluetooth);
              },
              R"({"outcome":"listened","reports":2,"means":"BlueZ, hci0"})", ""},
             {"it was on before the collection",
              [](Board& b) {
                  b.is(listens);
                  b.at(1s);
                  b.begin();
              },
              R"({"outcome":"listened","reports":0,"means":"BlueZ, hci0"})", ""},
             {"it listens, but could do better",
              [](Board& b) {
                  b.begin();
                  b.is({.state = listening, .means = "gpsd", .code = "x", .reason = "slow"});
              },
              R"({"outcome":"listened","reports":0,"means":"gpsd"})", ""},
             {"it never answers",
              [](Board& b) {
                  b.begin();
                  b.is(starts);
                  b.end();
                  b.is({});
              },
              R"({"outcome":"failed","reports":0})",
              "it had not answered when the collection ended"},
             {"it is off",
              [](Board& b) {
                  b.begin();
                  b.is(starts);
                  b.is(isOff);
              },
              R"({"outcome":"failed","reports":0,"code":"switched-off",
                  "reason":"hci0 is switched off","remedy":"switch on"})",
              "hci0 is switched off: switch on"},
             {"it is off at first",
              [](Board& b) {
                  b.begin();
                  b.is(isOff);
                  b.at(1s);
                  b.is(listens);
              },
              R"({"outcome":"listened","reports":0,"means":"BlueZ, hci0"})", ""},
             {"its daemon is away twice",
              [](Board& b) {
                  b.at(5s);
                  b.begin();
                  b.is(listens);
                  b.at(8050ms);
                  b.is(gone);
                  b.is(starts);
                  b.at(8600ms);
                  b.is({.state = listening, .means = "BlueZ, hci1"});
                  b.at(9s);
                  b.is(isOff);
                  b.at(10s);
                  b.is(listens);
                  b.at(11030ms);
                  b.is(isOff); // too short for people
                  b.at(11032ms);
                  b.is(listens);
                  b.at(20s);
                  b.end();
                  b.is(gone); // after it
              },
              R"({"outcome":"interrupted","reports":0,"means":"BlueZ, hci0","absences":[
                  {"who":"BlueZ","from":3.05,"until":3.6,"code":"no-daemon",
                   "reason":"bluetoothd is not running"},
                  {"who":"BlueZ","from":4.0,"until":5.0,"code":"switched-off",
                   "reason":"hci0 is switched off","remedy":"switch on"},
                  {"who":"BlueZ","from":6.03,"until":6.032,"code":"switched-off",
                   "reason":"hci0 is switched off","remedy":"switch on"}]})",
              "BlueZ was away from 3.1 s to 3.6 s, BlueZ was away from 4.0 s to 5.0 s"},
             {"its daemon goes for good",
              [](Board& b) {
                  b.begin();
                  b.is(listens);
                  b.at(3s);
                  b.is(gone);
              },
              R"({"outcome":"failed","reports":0,"means":"BlueZ, hci0","code":"no-daemon",
                  "reason":"bluetoothd is not running",
                  "absences":[{"who":"BlueZ","from":3.0,"code":"no-daemon",
                               "reason":"bluetoothd is not running"}]})",
              "BlueZ was away from 3.0 s on: bluetoothd is not running"},
             {"what was the matter before it listened is no reason",
              [](Board& b) {
                  b.begin();
                  b.is(isOff);
                  b.is({.state = listening});
                  b.at(3s);
                  b.is(starts);
              },
              R"({"outcome":"failed","reports":0,"absences":[{"who":"it","from":3.0}]})",
              "it was away from 3.0 s on: it had not answered when the collection ended"},
             {"it is asked anew, and cannot listen any more",
              [](Board& b) {
                  b.begin();
                  b.is(listens);
                  b.is({});
                  b.is(starts);
                  b.is(isOff);
              },
              R"({"outcome":"failed","reports":0,"means":"BlueZ, hci0","code":"switched-off",
                  "reason":"hci0 is switched off","remedy":"switch on"})",
              "hci0 is switched off: switch on"},
             {"a host's text is not UTF-8",
              [](Board& b) {
                  b.begin();
                  b.is({.state = listening, .means = "caf\xe9"});
                  b.is({.state = off, .reason = "caf\xe9"});
              },
              R"({"outcome":"failed","reports":0,"means":"caf\uFFFD","reason":"caf\uFFFD",
                  "absences":[{"who":"caf\uFFFD","from":0.0,"reason":"caf\uFFFD"}]})",
              R"(caf\xe9 was away from 0.0 s on: caf\xe9)"},
             {"the next collection starts afresh",
              [](Board& b) {
                  b.begin();
                  b.is(listens);
                  b.is(gone);
                  b.board->count(Source::bluetooth);
                  b.begin(); // the kit replaces its timer
                  b.is(listens);
              },
              R"({"outcome":"listened","reports":0,"means":"BlueZ, hci0"})", ""},
             {"a second kit begins while the first collects",
              [](Board& b) {
                  b.begin(0);
                  b.is(listens);
                  b.board->count(Source::bluetooth);
                  b.at(4s);
                  b.begin(1);
                  b.end(0);
                  b.board->count(Source::bluetooth);
                  b.at(6s);
                  b.is(gone); // still noticed
              },
              R"({"outcome":"failed","reports":1,"means":"BlueZ, hci0","code":"no-daemon",
                  "reason":"bluetoothd is not running",
                  "absences":[{"who":"BlueZ","from":2.0,"code":"no-daemon",
                               "reason":"bluetoothd is not running"}]})",
              "BlueZ was away from 2.0 s on: bluetoothd is not running"},
         }) {
        Board b;
        c.happens(b);
        const auto all = dictionary(*b.reader);
        keep(all);
        JSONValue account = all.at("sources").at("bluetooth");
        account.erase("now");
        EXPECT_TRUE(alike(account, JSONValue::parse(c.account))) << c.name;
        EXPECT_EQ(shortfall(b.report().collection), c.shortfall) << c.name;
    }
}

TEST(SourceBoard, keepsNoMoreThanSixteenAbsencesApart) {
    Board b;
    b.begin();
    for (int i = 0; i < 40; ++i) {
        b.is(listens);
        b.at(i * 100ms);
        b.is(gone);
    }
    keep(dictionary(*b.reader));
    EXPECT_EQ(b.report().collection.absences.size(), 16);
    EXPECT_EQ(b.report().collection.absences.back().from, 1500ms);
    EXPECT_EQ(b.report().collection.absences.back().until, std::nullopt);
    b.at(9s);
    b.is(listens);
    EXPECT_EQ(b.report().collection.absences.back().until, 9s);
    EXPECT_EQ(b.report().collection.outcome, SourceOutcome::interrupted);
}

TEST(SourceBoard, saysWhatIsKnownNowAndSinceWhen) {
    Board b;
    std::set<std::string> codes;
    int notes = 0;
    for (const SourceState state :
         {starting, listening, unavailable, off, refused, leftOut, idle}) {
        b.at(1s * ++notes);
        b.is({.state = state});
        b.is({.state = state}); // the same again
        const auto report = b.report();
        EXPECT_EQ(report.condition.state, state);
        EXPECT_EQ(report.since, std::chrono::system_clock::time_point(1000s + b.now));
        codes.insert(dictionary(report).at("now").at("state"));
        keep(dictionary(*b.reader));
        EXPECT_EQ(b.notes, notes);
    }
    EXPECT_EQ(codes, (std::set<std::string>{"idle", "starting", "listening", "unavailable", "off",
                                            "refused", "left-out"}));
    EXPECT_EQ(b.reader->collectionBegan(), std::nullopt);
    b.is(starts);
    b.at(60s);
    b.begin();
    b.is({.state = starting, .reason = "still the same state"});
    EXPECT_EQ(b.report().since, std::chrono::system_clock::time_point(1007s));
    EXPECT_EQ(b.reader->collectionBegan(), std::chrono::system_clock::time_point(1060s));
}

/// Nobody else could say that they are asked, or no more.
TEST(SourceBoard, hasTheSourcesOfATickStartAndEndWithTheCollection) {
    Board b;
    b.begin(0);
    b.begin(1);
    EXPECT_EQ(b.report(Source::address).condition, starts);
    EXPECT_EQ(b.report(Source::wifi).condition, starts);
    EXPECT_EQ(b.report(Source::services).condition, SourceCondition());
    b.is(listens, Source::address);
    b.is({.state = leftOut}, Source::wifi);
    b.end(0);
    EXPECT_EQ(b.report(Source::address).condition, listens);
    b.collections.at(1).reset(); // with its kit
    EXPECT_EQ(b.report(Source::address).condition, SourceCondition());
    EXPECT_EQ(b.report(Source::wifi).condition.state, leftOut);
    b.begin(0);
    b.is(gone, Source::address);
    b.end(0);
    EXPECT_EQ(b.report(Source::address).condition, SourceCondition()) << "nobody asks it now";
}

} // namespace
