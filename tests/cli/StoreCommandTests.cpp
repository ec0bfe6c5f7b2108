#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

using namespace testing;
using AmbrelKit::JSONValue;

struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
};

class StoreCommandTests : public Test {
public:
    StoreCommandTests(const StoreCommandTests&) = delete;
    StoreCommandTests& operator=(const StoreCommandTests&) = delete;

protected:
    StoreCommandTests() {
        std::string folder = TempDir() + "ambrel-tool-XXXXXX";
        directory = mkdtemp(folder.data());
        setenv("AMBREL_DOCUMENTS_DIR", directory.c_str(), 1);
        setenv("TZ", "Asia/Kolkata", 1); // five and a half hours before Greenwich
    }

    ~StoreCommandTests() override { std::filesystem::remove_all(directory); }

    [[nodiscard]] std::string contents(const char* name) const {
        std::ifstream file(directory / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Runs `ambrel store` with arguments as a shell reads them.
    Outcome store(const std::string& arguments, const std::string& input = "") const {
        std::ofstream(directory / "in") << input;
        const std::string command = "cd '" + directory.string() + "' && '" AMBREL_TOOL "' store " +
                                    arguments + " <in >out 2>err";
        const int status = std::system(command.c_str());
        return {WEXITSTATUS(status), contents("out"), contents("err")};
    }

    std::filesystem::path directory;
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
        {"show 1700000000.0 --format pretty", JSONValue::parse(first).dump(2) + "\n"},
    };
    for (const auto& [arguments, output] : cases) {
        const Outcome outcome = store(arguments);
        EXPECT_EQ(outcome.output, output) << arguments;
        EXPECT_EQ(outcome.status, 0) << arguments;
    }
    EXPECT_EQ(store("save", store("show 1700000000 --format pretty").output).status, 0);
    EXPECT_EQ(store("delete 2023-11-14T22:13:20Z").status, 0);
    EXPECT_EQ(store("export").output, third + "\n" + second + "\n");
}

TEST_F(StoreCommandTests, ListsWhatEachCollectionHolds) {
    store("save", first + "\n" + second);
    EXPECT_EQ(store("list --format json").output,
              R"({"location":false,"peripherals":0,"services":0,"timestamp":1700000000,"wifi":[]})"
              "\n"
              R"({"address":"192.0.2.7","location":true,"peripherals":2,"services":1,)"
              R"("timestamp":1700000100.5,"wifi":["\u001b[2Jcafe"]})"
              "\n");
    EXPECT_THAT(
        store("list").output,
        MatchesRegex("TIMESTAMP +LOCAL TIME +AGE +PERIPHERALS +SERVICES +LOCATION +ADDRESS +WI-FI\n"
                     "1700000000 +2023-11-15 03:43:20 +[0-9]+ y +0 +0 +- +- +-\n"
                     "1700000100.5 +2023-11-15 03:45:00 +[0-9]+ y +2 +1 +yes +192.0.2.7 +"
                     "\uFFFD.2Jcafe\n"));
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
        {"save", "{}", 2, ":1: \"timestamp\" is missing or"},
        {"save nowhere", "", 1, "nowhere: No such file"},
        {"save .", "", 1, "Is a directory"},
        {"show 5", "", 1, "no collection of 5 is saved\n"},
        {"delete 5", "", 1, "5.0: No such file"},
        {"show today", "", 2, "TIMESTAMP: \"today\" is no point in time"},
        {"export --since 2023-02-30", "", 2, "--since: \"2023-02-30\" is no point in time"},
        {"export --until 2023-11-14T25:00", "", 2, "--until: \"2023-11-14T25:00\" is no"},
        {"export --until nan", "", 2, "--until: \"nan\" is no point in time"},
        {"list --format xml", "", 2, "xml"},
        {"", "", 2, "a command is missing"},
    };
    for (const auto& [arguments, input, status, reason] : cases) {
        const Outcome outcome = store(arguments, input);
        EXPECT_EQ(outcome.status, status) << arguments;
        EXPECT_THAT(outcome.errors, AllOf(StartsWith("ambrel: "), HasSubstr(reason))) << arguments;
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
}

} // namespace
