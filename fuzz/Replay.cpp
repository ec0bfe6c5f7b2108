// A script of any bytes is read and run, or refused.

#include "AmbrelKit/Simulated/Replay/LineGrammar.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptReader.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptRunner.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptWriter.hpp"
#include "AmbrelKit/Simulated/Replay/TraceWriter.hpp"
#include "fuzz/Properties.hpp"

#include <chrono>
#include <cstdint>
#include <sstream>
#include <string>

using namespace AmbrelKit::Simulated;

namespace {

/// A line that is written reads back to what it was written of.
void checkWritten(const std::string& line) {
    LineParser parser;
    Fuzz::require(scriptLine(stepOf(parser.parse(line))) == line, "a step reads back", line);
}

void checkTraced(std::string_view line) {
    Fuzz::require(line.ends_with('\n'), "a line ends", line);
    Fuzz::require(AmbrelKit::JSONValue::accept(line), "a line is JSON", line);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::chrono::hours longest(1); // a collection may tick on as long as a script lasts
    std::istringstream script{std::string(Fuzz::textOf(data, size))};
    TraceWriter writer({.queries = true}, checkTraced);
    try {
        ScriptReader reader(script);
        Platform platform(reader.header().platform);
        ScriptRunner runner(platform, reader.header(),
                            [&](const Event& event) { writer.write(event); });
        while (const auto step = reader.next()) {
            if (step->at > longest) {
                break;
            }
            checkWritten(scriptLine(*step));
            runner.run(*step);
        }
    } catch (const ScriptError& error) { // refused
        Fuzz::requireOneLine(error.what());
    }
    return 0;
}
