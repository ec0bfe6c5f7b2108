#include "AmbrelKit/Simulated/Replay/Replay.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

using namespace AmbrelKit::Simulated;
using testing::HasSubstr;
using testing::Not;

const std::string header = "{\"ambrelReplay\":1}\n";

struct BadScript {
    std::string text;
    std::size_t line;
    std::string reason;
};

/// A step that is wrong in itself, as line 2.
BadScript badStep(const std::string& step, const std::string& reason) {
    return {header + step, 2, reason};
}

void expectErrors(const std::vector<BadScript>& scripts) {
    for (const auto& [text, line, reason] : scripts) {
        std::istringstream stream(text);
        try {
            replay(stream, {}, [](std::string_view) {});
            ADD_FAILURE() << "ran: " << text;
        } catch (const ScriptError& error) {
            EXPECT_EQ(error.line(), line) << text;
            EXPECT_THAT(error.what(), HasSubstr(reason)) << text;
            EXPECT_THAT(error.what(), Not(HasSubstr("\n"))) << text;
        }
    }
}

TEST(BadScripts, headers) {
    expectErrors({
        {"", 1, "header is missing"},
        {"\n \t\r\n", 3, "header is missing"},
        {"{\"at\":0,\"end\":true}", 1, "header is missing"},
        {"\n[1]", 2, "not a JSON object"},
        {"{\"ambrelReplay\":2}", 1, "version 2 is unknown"},
        {"{\"ambrelReplay\":1.0}", 1, "\"ambrelReplay\" must be a whole number"},
        {"{\"ambrelReplay\":1,\"version\":1}", 1, "unknown key \"version\""},
        {"{\"ambrelReplay\":1,\"ambrelReplay\":1}", 1, "key \"ambrelReplay\" twice"},
        {"{\"ambrelReplay\":1,\"start\":null}", 1, "\"start\" must be a number"},
        {"{\"ambrelReplay\":1,\"start\":9223372037}", 1, "\"start\" is out of range"},
        {"{\"ambrelReplay\":1,\"start\":-1e10}", 1, "\"start\" is out of range"},
        {"{\"ambrelReplay\":1,\"bonjourServices\":\"_a._tcp.\"}", 1, "must be a list"},
        {"{\"ambrelReplay\":1,\"bonjourServices\":[1]}", 1, "must be a text"},
        {"{\"ambrelReplay\":1,\"identifiers\":null}", 1, "must be a list"},
        {"{\"ambrelReplay\":1,\"identifiers\":[\"1\"]}", 1, "must be the text of a UUID"},
    });
}

TEST(BadScripts, textThatIsNoJSONObject) {
    expectErrors({
        badStep("{\"at\":0,", "syntax error at byte 9"),
        badStep("{\"at\":0,\"end\":true} x", "syntax error"),
        badStep("{\"at\":0,\"end\":true}{}", "syntax error"),
        badStep("true", "not a JSON object"),
        badStep("{\"at\":0,\"location\":{\"fail\":\"\xC3(\"}}", "ill-formed UTF-8"),
        badStep("{\"at\":0,\"location\":{\"fail\":\"\\ud800\"}}", "syntax error"),
        badStep(std::string("{\"at\":0,\"end\":true}\0x", 21), "zero byte"),
        badStep("\xEF\xBB\xBF{\"at\":0,\"end\":true}", "byte-order mark"),
        badStep("{\"at\":1e999,\"end\":true}", "number is out of range"),
        badStep(R"({"at":0,"network":{"captive":{"supported":)" + std::string(200'000, '['),
                "nested too deep"),
    });
}

TEST(BadScripts, steps) {
    expectErrors({
        badStep(R"({"end":true})", "\"at\" is missing"),
        badStep(R"({"at":0})", "no action"),
        badStep(R"({"at":"0","end":true})", "\"at\" must be a number"),
        badStep(R"({"at":-1e-12,"end":true})", "\"at\" must not be less than 0"),
        badStep(R"({"at":9223372036.854775808,"end":true})", "\"at\" is out of range"),
        badStep(R"({"at":0,"at":0,"end":true})", "key \"at\" twice"),
        badStep(R"({"at":0,"end":true,"host":"release"})", "more than one action"),
        badStep(R"({"at":0,"end":true,"end":true})", "more than one action"),
        badStep(R"({"at":0,"colour\n":1})", R"(unknown key "colour\n")"),
        badStep(R"({"at":0,"end":1})", "\"end\" must be true"),
        badStep(R"({"at":0,"host":"startscanning"})", "\"startscanning\" is unknown"),
        badStep(R"({"at":0,"host":{}})", "\"host\" must be an object with one key"),
        badStep(R"({"at":0,"host":["release"]})", "\"host\" must be an object with one key"),
        badStep(R"({"at":0,"host":{"setAmbrelTimeThreshold":1.5}})", "must be a whole number"),
        badStep(R"({"at":0,"host":{"delegate":"lost"}})", "\"lost\" is unknown"),
        badStep(R"({"at":0,"host":{"delegate":null}})", "\"delegate\" must be"),
        badStep(R"({"at":0,"onDelivery":"release"})", "\"onDelivery\" must be a list"),
        badStep(R"({"at":0,"onDelivery":["release",7]})", "\"host\" must be"),
        badStep(R"({"at":0,"statuses":{"wifiStatus":1}})", "unknown key \"wifiStatus\""),
        badStep(R"({"at":0,"statuses":{"networkSettingStatus":"yes"}})", "\"yes\" is unknown"),
        badStep(R"({"at":0,"statuses":{"networkSettingStatus":1.0}})", "networkSettingStatus"),
        badStep(R"({"at":0,"clock":{}})", "\"offset\" is missing"),
        badStep(R"({"at":0,"bluetooth":{"state":"on"}})", "\"state\" must be a whole number"),
        badStep(R"({"at":0,"bluetooth":{"discover":{"name":"x"}}})", "\"identifier\" is missing"),
        badStep(R"({"at":0,"bluetooth":{"discover":{"identifier":"x"}}})", "text of a UUID"),
        badStep(R"({"at":0,"bonjour":{"lost":{}}})", "unknown key \"lost\" in \"bonjour\""),
        badStep(R"({"at":0,"bonjour":{"found":{"type":"a"}}})", "\"name\" is missing"),
        badStep(R"({"at":0,"bonjour":{"resolved":{"type":"a","name":"b","txt":"0g"}}})",
                "\"txt\" must be pairs of hexadecimal digits"),
        badStep(R"({"at":0,"bonjour":{"resolved":{"type":"a","name":"b","txt":"-1"}}})", "txt"),
        badStep(R"({"at":0,"bonjour":{"resolved":{"type":"a","name":"b","addresses":["012"]}}})",
                "\"addresses\" must be pairs"),
        badStep(R"({"at":0,"location":{"update":[{"latitude":1,"longitude":"up","timestamp":0}]}})",
                "\"longitude\" must be a number"),
        badStep(R"({"at":0,"location":{"update":[{"latitude":1,"longitude":1}]}})",
                "\"timestamp\" is missing"),
        badStep(R"({"at":0,"network":{"interfaces":[{"name":"en0"}]}})", "\"address\" is missing"),
        badStep(R"({"at":0,"network":{"captive":{"info":[]}}})", "\"info\" must be an object"),
        badStep(R"({"at":0,"network":{"captive":{"info":{"a":1,"a":2}}}})", "key \"a\" twice"),
        badStep(R"({"at":0,"network":{"captive":{"supported":[{"a":1,"a":2}]}}})", "\"a\" twice"),
        badStep(R"({"at":0,"application":"willResign"})", "\"willResign\" is unknown"),
        badStep(R"({"at":0,"application":{"expire":"1"}})", "\"expire\" must be a whole number"),
        {"{\"ambrelReplay\":1,\"start\":9e9}\n{\"at\":1e9,\"end\":true}", 2, "out of range"},
        {"{\"ambrelReplay\":1,\"start\":-9e9}\n{\"at\":0,\"clock\":{\"offset\":-1e9}}", 2,
         "wall clock is out of range"},
        {header + "{\"at\":1,\"clock\":{\"offset\":9e9}}\n{\"at\":3e8,\"end\":true}", 3,
         "wall clock is out of range"},
        {header + "{\"at\":1,\"host\":\"create\"}\n\n{\"at\":0.999999999,\"end\":true}", 4,
         "\"at\" is before"},
    });
}

TEST(BadScripts, callsOfAReleasedFacade) {
    for (const char* call : {R"("startScanning")", R"("release")", R"({"delegate":"attached"})",
                             R"({"setAmbrelTimeThreshold":1})"}) {
        expectErrors({
            {header + R"({"at":0,"host":"release"})" + "\n" + R"({"at":0,"host":)" + call + "}", 3,
             "released"},
            // The delivery that runs a list comes later; the list's line is to blame.
            {header + R"({"at":0,"onDelivery":["release",)" + call + "]}\n\n" +
                 R"({"at":0,"host":"startScanning"})",
             2, "released"},
        });
    }
}

TEST(BadScripts, whatRanBeforeIsPrinted) {
    std::istringstream stream(
        header + R"({"at":0,"statuses":{"bluetoothPermissionStatus":"granted"}})" + "\n" +
        R"({"at":0,"host":"startScanningOnce"})" + "\n" + R"({"at":5,"host":"never"})");
    std::vector<std::string> lines;
    EXPECT_THROW(
        replay(stream, {.queries = true}, [&](std::string_view line) { lines.emplace_back(line); }),
        ScriptError);
    // The ticks from 1 to 5 have not run.
    EXPECT_THAT(lines, testing::Each(testing::StartsWith("{\"at\":0,")));
    EXPECT_THAT(lines, testing::Contains(HasSubstr("bluetooth\":\"create\"")));
}

/// Gives one line at a time, and notes what was printed by then.
class LineByLine : public std::streambuf {
public:
    LineByLine(std::vector<std::string> lines, const std::string& printed)
        : lines_(std::move(lines)), printed_(printed) {}

    std::vector<std::size_t> printedLengths; ///< before each line was asked for

protected:
    int_type underflow() override {
        printedLengths.push_back(printed_.size());
        if (next_ == lines_.size()) {
            return traits_type::eof();
        }
        std::string& line = lines_[next_++];
        setg(line.data(), line.data(), line.data() + line.size());
        return traits_type::to_int_type(line.front());
    }

private:
    std::vector<std::string> lines_;
    const std::string& printed_;
    std::size_t next_ = 0;
};

TEST(Replay, runsAStepBeforeItWaitsForTheNext) {
    const std::string start = "{\"at\":0,\"host\":{\"setAmbrelTimeThreshold\":99}}\n";
    std::string printed;
    LineByLine buffer({header, start, start, "{\"at\":0,\"end\":true}\n", "not read"}, printed);
    std::istream stream(&buffer);
    replay(stream, {}, [&](std::string_view line) { printed += line; });
    const std::size_t length = printed.size() / 2;
    EXPECT_EQ(buffer.printedLengths, (std::vector<std::size_t>{0, 0, length, 2 * length}));
}

} // namespace
