#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "tests/tools/CommandFixture.hpp"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <set>
#include <unistd.h>

namespace {

using namespace testing;
using AmbrelKit::JSONValue;

class StoreCommandTests : public CommandTest {
protected:
    Outcome store(const std::string& arguments, const std::string& input = "") const {
        return ambrel("store " + arguments, input);
    }
};

const std::string first = R"({"bleScan":[],"nearbyDevices":[],"timestamp":1700000000})";
const std::string second = R"({"bleScan":[{},{}],"ip":"192.0.2.7","locationCollection":{},)"
                           R"("nearbyDevices":[{}],"timestamp":1700000100.5,)"
                           R"("wifiNetwork":{"connectedDevices":[{},{"name":"\u001b[2Jcafe"}]}})";
const std::string third = R"({"timestamp":-3})";

TEST_F(StoreCommandTests, SavesShowsExportsAndDeletes) {
    EXPECT_EQ(store("path").output, (directory / "collections\n").string());
    const Outcome empty = store("export");
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(empty.output, "");
    EXPECT_THAT(empty.errors, HasSubstr("nothing has been saved in"));

    const Outcome saved = store("save", second + "\n\n" + first + "\r\n" + third);
    EXPECT_EQ(saved.status, 0);
    EXPECT_EQ(saved.output + saved.errors, "");

    const struct {
        const char* arguments;
        std::string output;
    } cases[] = {
        {"export", third + "\n" + first + "\n" + second + "\n"},
        {"export --since 1700000000", first + "\n" + second + "\n"},
        {"export --since=-3 --until 1700000100", third + "\n" + first + "\n"},
        {"export --since 2023-11-14T22:13:20Z --until 2023-11-14T22:15:00Z", first + "\n"},
        {"export --since 2023-11-14T22:15:00.500Z", second + "\n"},
        {"export --since 2023-11-14T23:13:20+01:00 --until '2023-11-15 03:43:20'", first + "\n"},
        {"export --since 2023-11-15 --until 2023-11-15T03:44", first + "\n"},
        {"export --since 2023-11-15T03:44", second + "\n"},
        {"show 1700000000", first + "\n"},
        {"show -3", third + "\n"},
        {"show 2023-11-14T22:13:20Z", first + "\n"},
        {"show last", second + "\n"},
        {"show last-1", first + "\n"},
        {"show 1w", second + "\n"}, // the newest that is a week old
        {"last --format pretty", JSONValue::parse(second).dump(2) + "\n"},
        {"export --since 90s", ""},
        {"export --until 2h --since=-3 --until 1.5d", third + "\n" + first + "\n" + second + "\n"},
        {"list --format json --since 1700000101", ""},
        {"show 1700000000.0 --format pretty", JSONValue::parse(first).dump(2) + "\n"},
    };
    for (const auto& [arguments, output] : cases) {
        const Outcome outcome = store(arguments);
        EXPECT_EQ(outcome.output, output) << arguments;
        EXPECT_EQ(outcome.status, 0) << arguments;
    }
    EXPECT_EQ(store("save", store("show 1700000000 --format pretty").output).status, 0);
    EXPECT_EQ(store("delete last-1").status, 0);
    EXPECT_EQ(store("export").output, third + "\n" + second + "\n");
}

TEST_F(StoreCommandTests, ListsWhatEachCollectionHolds) {
    store("save", first + "\n" + second + "\n" + R"({"timestamp":1700000200,"bleScan":1,"ip":7})");
    EXPECT_EQ(store("list --format json").output,
              R"({"location":false,"peripherals":0,"services":0,"timestamp":1700000000,"wifi":[]})"
              "\n"
              R"({"address":"192.0.2.7","location":true,"peripherals":2,"services":1,)"
              R"("timestamp":1700000100.5,"wifi":["\u001b[2Jcafe"]})"
              "\n"
              R"({"address":7,"location":false,"peripherals":0,"services":0,)"
              R"("timestamp":1700000200,"wifi":[]})"
              "\n");
    EXPECT_THAT(
        store("list").output,
        MatchesRegex("TIMESTAMP +LOCAL TIME +AGE +PERIPHERALS +SERVICES +LOCATION +ADDRESS +WI-FI\n"
                     "1700000000 +2023-11-15 03:43:20.05:30 +[0-9]+ y +0 +0 +- +- +-\n"
                     "1700000100.5 +2023-11-15 03:45:00.05:30 +[0-9]+ y +2 +1 +yes +192.0.2.7 +"
                     "[\\]u001b.2Jcafe\n"
                     "1700000200 +2023-11-15 03:46:40.05:30 +[0-9]+ y +0 +0 +- +7 +-\n"));
}

TEST_F(StoreCommandTests, ExportsWhatSpreadsheetsAndMapsTake) {
    const std::string csv =
        "timestamp,kind,seen,identifier,name,type,address,latitude,longitude,txt\r\n";
    const std::string begin = "{\"type\":\"FeatureCollection\",\"features\":[\n";
    EXPECT_EQ(store("export --format csv").output, csv);
    EXPECT_EQ(store("export --format geojson").output, begin + "]}\n");
    store(
        "save",
        R"({"timestamp":1,"ip":"192.0.2.7","locationCollection":{"lat":-33.5,"lon":18,"timestamp":2},
        "bleScan":[{"address":"8B1F","name":"=cmd|'/C calc'!A0","timestamp":3},{"name":"a \"q\",\nb;=1"}],
        "nearbyDevices":[{"name":"-p","protocolType":"_ipp._tcp.","address":"::1","txtRecord":{"a":"x,\udb40\udc41"}}],
        "wifiNetwork":{"connectedDevices":[{"name":"'\uff1dx"}]}})");
    store("save", R"({"timestamp":2,"bleScan":7,"locationCollection":{"lat":"90","lon":0}})"
                  "\n"
                  R"({"timestamp":3,"locationCollection":{"lat":90,"lon":-180}})");
    EXPECT_EQ(store("export --format csv --until 2").output,
              csv + "1,collection,2,,,,192.0.2.7,-33.5,18,\r\n"
                    "1,peripheral,3,8B1F,\"'=cmd|'/C calc'!A0\",,,,,\r\n"
                    "1,peripheral,,,\"a \"\"q\"\",\\u000ab;'=1\",,,,,\r\n"
                    "1,service,,,'-p,_ipp._tcp.,::1,,,\"{\"\"a\"\":\"\"x,\\udb40\\udc41\"\"}\"\r\n"
                    "1,network,,,''\uFF1Dx,,,,,\r\n"
                    "2,collection,,,,,,90,0,\r\n");
    const Outcome positions = store("export --format geojson");
    EXPECT_EQ(
        positions.output,
        begin +
            R"({"geometry":{"coordinates":[18,-33.5],"type":"Point"},"properties":{"determined":2,)"
            R"("networks":1,"peripherals":2,"services":1,"timestamp":1},"type":"Feature"})"
            "\n,"
            R"({"geometry":{"coordinates":[-180,90],"type":"Point"},"properties":{"determined":null,)"
            R"("networks":0,"peripherals":0,"services":0,"timestamp":3},"type":"Feature"})"
            "\n]}\n");
    EXPECT_EQ(positions.errors, "ambrel: note: left out for want of a position: 1 collection\n");
    // Interrupted, it is whole all the same: here a signal waits already when it begins.
    const Outcome interrupted = ambrel(
        "store export --format geojson", "",
        "python3 -c 'import os, signal, sys; signal.pthread_sigmask(signal.SIG_BLOCK, [15]); "
        "os.kill(os.getpid(), 15); os.execv(sys.argv[1], sys.argv[1:])'");
    EXPECT_EQ(interrupted.status, 128 + SIGTERM);
    EXPECT_EQ(JSONValue::parse(interrupted.output)["features"].size(), 1U);
}

TEST_F(StoreCommandTests, PrunesItsOwnFilesAndNeverTheNewest) {
    for (int time = 1; time <= 5; ++time) {
        store("save", R"({"timestamp":)" + std::to_string(time) + "}");
    }
    const auto collections = directory / "collections";
    write("target", R"({"timestamp":0})");
    std::filesystem::create_symlink(directory / "target", collections / "0.0");
    write("collections/backup", R"({"timestamp":-1})");
    write("collections/1.5", R"({"timestamp":1})");
    write("collections/6.0", "cut");
    std::filesystem::create_directory(collections / "-2.0");
    const auto names = [&] {
        std::set<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(collections)) {
            found.insert(entry.path().filename());
        }
        return found;
    };
    const std::set<std::string> others{"-2.0", "0.0", "1.5", "6.0", "backup"};
    const struct {
        const char* arguments;
        std::set<std::string> left;
    } cases[] = {
        {"--keep 3 --dry-run", {"1.0", "2.0", "3.0", "4.0", "5.0"}},
        {"--keep 9", {"1.0", "2.0", "3.0", "4.0", "5.0"}},
        {"--keep 3", {"3.0", "4.0", "5.0"}},
        {"--keep 1s", {"5.0"}},
    };
    for (auto [arguments, left] : cases) {
        const Outcome outcome = store(std::string("prune ") + arguments);
        left.insert(others.begin(), others.end());
        EXPECT_EQ(names(), left) << arguments;
        EXPECT_EQ(outcome.status, 1) << arguments; // what is not its own is told
        EXPECT_THAT(outcome.errors, HasSubstr("6.0: no JSON")) << arguments;
    }
    EXPECT_EQ(contents("target"), R"({"timestamp":0})");
    for (const std::string& name : others) {
        std::filesystem::remove_all(collections / name);
    }
    store("save", R"({"timestamp":-7.5})");
    const std::string lines = " -7.5 (1970-01-01 05:29:52+05:30)\n";
    EXPECT_EQ(store("prune --keep 1 --dry-run").output,
              "would remove" + lines + "would remove 1 collection\n");
    EXPECT_EQ(store("prune --keep 1").output, "removed" + lines + "removed 1 collection\n");
    EXPECT_EQ(store("prune --keep 1w").output, "removed 0 collections\n");
}

TEST_F(StoreCommandTests, SaysWhatIsWrong) {
    const struct {
        const char* arguments;
        std::string input;
        int status;
        const char* reason;
    } cases[] = {
        {"save", first + "\n\n{\"timestamp\":2", 2, "standard input:3: this is no JSON\n"},
        {"save in", "{\"timestamp\":\n" + first + "\n" + first, 2, "in:1: this is no JSON\n"},
        {"save -", "{\n \"timestamp\": 1,\n \"a\": tru\n}\n", 2, ":3: this is no JSON\n"},
        {"save", first + "\n[1]", 2, ":2: this is no JSON object\n"},
        {"save", "{\"timestamp\":1,\n\"a\":1e999}", 2, ":1: a number is out of range\n"},
        {"save", R"({"timestamp":9007199254740993})", 2, ":1: \"timestamp\" is missing or"},
        {"save", std::string(100'000, '['), 2, ":1: more than 512 arrays"},
        {"save </dev/zero", "", 2, ":1: more than 16 MiB"},
        {"save <&-", "", 1, "standard input: Bad file descriptor"},
        {"save", "{}", 2, ":1: \"timestamp\" is missing or"},
        {"save nowhere", "", 1, "nowhere: No such file"},
        {"save .", "", 1, "Is a directory"},
        {"show 5", "", 1, "no collection of 5 is saved\n"},
        {"delete 5", "", 1, "no collection of 5 is saved\n"},
        {"show last-9", "", 1, "fewer than 10 collections are saved\n"},
        {"delete 900w", "", 1, "no collection as old as 900w is saved\n"},
        {"show today", "", 2, "COLLECTION: \"today\" is no point in time"},
        {"show last-", "", 2, "COLLECTION: \"last-\" is no point in time, nor last or last-N"},
        {"export --since 2023-02-30", "", 2, "--since: \"2023-02-30\" is no point in time"},
        {"export --until 2023-11-14T25:00", "", 2, "--until: \"2023-11-14T25:00\" is no"},
        {"export --until 2023-11-14T22:13.5", "", 2, "is no point in time"},
        {"export --since ''", "", 2, "--since: \"\" is no point in time"},
        {"export --until nan", "", 2, "--until: \"nan\" is no point in time"},
        {"prune", "", 2, "--keep is required"},
        {"prune --keep 0", "", 2, "--keep: \"0\" is neither an age nor a number of 1 or more"},
        {"prune --keep 1.5", "", 2, "is neither"},
        {"prune --keep 5x", "", 2, "is neither"},
        {"list --format xml", "", 2, "xml"},
        {"", "", 2, "a command is missing"},
    };
    for (const auto& [arguments, input, status, reason] : cases) {
        const Outcome outcome = store(arguments, input);
        EXPECT_EQ(outcome.status, status) << arguments;
        EXPECT_THAT(outcome.errors, AllOf(StartsWith("ambrel: "), HasSubstr(reason))) << arguments;
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << arguments;
        EXPECT_EQ(outcome.output, "") << arguments;
    }
    // What stood before a bad line has been saved; an entry that cannot be read is no silent loss.
    EXPECT_EQ(store("export").output, first + "\n");
    std::ofstream(directory / "collections" / "3.0") << "cut";
    const Outcome partly = store("export");
    EXPECT_EQ(partly.output, first + "\n");
    EXPECT_THAT(partly.errors, HasSubstr("3.0: no JSON (byte 1)\n"));
    EXPECT_EQ(partly.status, 1);
    EXPECT_EQ(store("export >/dev/full").status, 1);
    write("collections/notes", "of what was seen"); // what is wrong with it is not the answer
    EXPECT_THAT(store("show 5").errors, StartsWith("ambrel: no collection of 5 can be read; /"));
}

TEST_F(StoreCommandTests, ShowsWhatDiffersBetweenTwo) {
    store("save", first + "\n" + second);
    write("1.json", third);
    const std::string text = "  bleScan:\n+   [0]: {}\n+   [1]: {}\n+ ip: \"192.0.2.7\"\n"
                             "+ locationCollection: {}\n  nearbyDevices:\n+   [0]: {}\n"
                             "- timestamp: 1700000000\n+ timestamp: 1700000100.5\n"
                             "+ wifiNetwork:\n+   connectedDevices:\n+     [0]: {}\n"
                             "+     [1]:\n+       name: \"\\u{1b}[2Jcafe\"\n";
    const struct {
        const char* arguments;
        std::string input;
        int status;
        std::string output;
        std::string reason = {};
    } cases[] = {
        {"last-1 last", "", 0, text},
        {"1700000000 - --format text", second, 0, text},
        {"last last", "", 0, ""},
        {"1.json - --color always", "{}", 0, "\033[31m- timestamp: -3\033[0m\n"},
        {"last last --format json-patch", "", 0, "[]\n"},
        {"1.json ./1.json", "", 0, ""},
        {"1.json -", "{}", 0, "- timestamp: -3\n"},
        {"1.json collections/1700000000.0 --format json-patch", "", 0,
         R"([{"op":"replace","path":"/timestamp","value":1700000000},)"
         R"({"op":"add","path":"/bleScan","value":[]},)"
         R"({"op":"add","path":"/nearbyDevices","value":[]}])"
         "\n"},
        {"last", "", 2, "", "AFTER is required"},
        {"last today", "", 1, "", "today: No such file"},
        {"last last-2", "", 1, "", "fewer than 3 collections are saved"},
        {"last .", "", 1, "", ".: Is a directory"},
        {"last - --format xml", "", 2, "", "xml"},
        {"- -", third, 2, "", "only one of the two can be standard input"},
        {"last -", "", 2, "", "standard input: this is no dictionary"},
        {"last -", third + "\n[]", 2, "", "standard input:2: this is no JSON object"},
        {"last -", third + "\n" + third, 2, "", "standard input:2: this is a second dictionary"},
    };
    for (const auto& [arguments, input, status, output, reason] : cases) {
        const Outcome outcome = store(std::string("diff ") + arguments, input);
        EXPECT_EQ(outcome.output, output) << arguments;
        EXPECT_EQ(outcome.status, status) << arguments;
        EXPECT_THAT(outcome.errors, HasSubstr(reason)) << arguments;
        EXPECT_EQ(outcome.errors.empty(), reason.empty()) << outcome.errors;
    }
    const JSONValue patch = JSONValue::parse(store("diff last-1 last --format json-patch").output);
    EXPECT_EQ(JSONValue::parse(first).patch(patch), JSONValue::parse(second));
}

TEST_F(StoreCommandTests, NeedsAFolder) {
    for (const char* arguments :
         {"store list", "store path", "store save", "store delete 1", "store last"}) {
        const Outcome outcome = ambrel(arguments, first, "env -i");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors,
                  "ambrel: no folder for collections: HOME and AMBREL_DOCUMENTS_DIR are unset\n");
    }
    write("collections", ""); // where nothing can be looked for, nobody says that nothing is there
    EXPECT_EQ(store("delete last").errors,
              "ambrel: " + (directory / "collections").string() + ": Not a directory\n");
}

TEST_F(StoreCommandTests, ATraceCanNotCommandTheTerminal) {
    const std::string name = "a\x7F\u009B2J\u202Eb";
    write("script", "{\"ambrelReplay\":1,\"bonjourServices\":[\"" + name +
                        "\"]}\n{\"at\":0,\"statuses\":{\"networkPermissionStatus\":\"granted\"}}\n"
                        "{\"at\":0,\"host\":\"startScanning\"}\n");
    EXPECT_THAT(ambrel("replay script").output, HasSubstr(name)); // byte for byte
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(grantpt(terminal) | unlockpt(terminal), 0);
    EXPECT_EQ(ambrel(std::string("replay script >") + ptsname(terminal)).status, 0);
    std::string shown(4096, '\0');
    shown.resize(static_cast<std::size_t>(read(terminal, shown.data(), shown.size())));
    close(terminal);
    EXPECT_THAT(shown, HasSubstr(R"("a\u007f\u009b2J\u202eb")"));
}

TEST_F(StoreCommandTests, AnEndlessLineEndsAReplay) {
    const Outcome outcome = ambrel("replay /dev/zero");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "ambrel: /dev/zero:1: more than 16 MiB of JSON\n");
}

} // namespace
