#include "AmbrelKit/Simulated/Replay/ScriptWriter.hpp"
#include "AmbrelKit/Simulated/Replay/Replay.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptReader.hpp"
#include "tests/support/Alike.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

namespace {

using namespace AmbrelKit::Simulated;

/// The script as it is written of what is read of it.
std::string rewritten(std::istream&& script) {
    ScriptReader reader(script);
    std::string text = scriptLine(reader.header()) + "\n";
    while (const auto step = reader.next()) {
        text += scriptLine(*step) + "\n";
        if (std::holds_alternative<ScriptActions::End>(step->action)) {
            break; // nothing behind it is read
        }
    }
    return text;
}

TEST(ScriptWriter, writesWhatIsReadAsTheSame) {
    const std::string script =
        R"({"ambrelReplay":1,"start":-1.000000001,"bonjourServices":["_a._tcp.","\u0001\""],)"
        R"("identifiers":["00000000-0000-4000-8000-00000000000A"]}
{"at":0,"host":"startScanningOnce"}
{"at":0.000000001,"host":{"setAmbrelTimeThreshold":-31}}
{"at":0.25,"host":{"delegate":"released"}}
{"at":0.25,"onDelivery":["automaticModeForNotificationAndBackgroundTask",{"delegate":"attached"}]}
{"at":0.25,"onDelivery":[]}
{"at":1,"statuses":{"bluetoothSettingStatus":"granted","networkPermissionStatus":-7}}
{"at":1,"clock":{"offset":-0.000000001}}
{"at":1,"bluetooth":{"state":5}}
{"at":1,"bluetooth":{"discover":{"identifier":"00000000-0000-4000-8000-00000000000A"}}}
{"at":1,"bluetooth":{"discover":{"identifier":"00000000-0000-4000-8000-00000000000A","name":""}}}
{"at":1,"bonjour":{"found":{"type":"_a._tcp.","name":"\u0000 é"}}}
{"at":1,"bonjour":{"resolved":{"type":"t","name":"n"}}}
{"at":1,"bonjour":{"resolved":{"type":"t","name":"n","addresses":[],"txt":""}}}
{"at":1,"bonjour":{"resolved":{"type":"t","name":"n","addresses":["10ff","00"],"txt":"03613d62"}}}
{"at":1,"location":{"authorization":3}}
{"at":1,"location":{"update":[]}}
{"at":1,"location":{"update":[{"latitude":0.1,"longitude":-0.0,"timestamp":-1700000000.123456789},)"
        R"({"latitude":"nan","longitude":"-inf","timestamp":0}]}}
{"at":1,"location":{"fail":"no\nsky"}}
{"at":1,"network":{"interfaces":[{"name":"en0","address":"192.0.2.7"},{"name":"x","address":null}]}}
{"at":1,"network":{"captive":{"supported":null,"info":{}}}}
{"at":1,"network":{"captive":{"supported":["en0",1.5],"info":{"en0":{"SSID":"a"},"en1":[]}}}}
{"at":1,"application":"didBecomeActive"}
{"at":1,"application":{"expire":-1}}
{"at":1.5,"end":true}
)";
    EXPECT_EQ(rewritten(std::istringstream(script)), script);
    // What may be left out is read as what stands for it.
    EXPECT_EQ(rewritten(std::istringstream(R"({"ambrelReplay":1})")),
              "{\"ambrelReplay\":1,\"start\":0,\"identifiers\":[]}\n");
}

std::vector<AmbrelKit::JSONValue> trace(std::istream&& script) {
    std::vector<AmbrelKit::JSONValue> lines;
    replay(script, {.queries = true},
           [&](std::string_view line) { lines.push_back(AmbrelKit::JSONValue::parse(line)); });
    return lines;
}

TEST(ScriptWriter, everyScriptRunsAlikeWhenRewritten) {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(REPLAY_SCRIPTS)) {
        if (entry.path().extension() == ".ndjson") {
            EXPECT_TRUE(alike(trace(std::istringstream(rewritten(std::ifstream(entry.path())))),
                              trace(std::ifstream(entry.path()))))
                << entry.path();
            ++count;
        }
    }
    EXPECT_GT(count, 20U);
}

TEST(ScriptWriter, replacesBytesThatAreNotUTF8) {
    const ScriptStep step{.at = {}, .action = ScriptActions::LocationFail{"\xFF"}};
    EXPECT_EQ(scriptLine(step), "{\"at\":0,\"location\":{\"fail\":\"\uFFFD\"}}");
}

} // namespace
