// A script of any bytes is read and run, or refused.

#include "AmbrelKit/Simulated/Replay/ScriptReader.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptRunner.hpp"
#include "AmbrelKit/Simulated/Replay/TraceWriter.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace AmbrelKit::Simulated;
    constexpr std::chrono::hours longest(1); // a collection may tick on as long as a script lasts
    std::istringstream script(std::string(reinterpret_cast<const char*>(data), size));
    std::size_t written = 0;
    TraceWriter writer({.queries = true}, [&](std::string_view line) { written += line.size(); });
    try {
        ScriptReader reader(script);
        Platform platform(reader.header().platform);
        ScriptRunner runner(platform, reader.header(),
                            [&](const Event& event) { writer.write(event); });
        while (const auto step = reader.next()) {
            if (step->at > longest) {
                break;
            }
            runner.run(*step);
        }
    } catch (const ScriptError&) { // refused
        return 0;
    }
    return 0;
}
