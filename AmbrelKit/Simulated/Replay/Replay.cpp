#include "AmbrelKit/Simulated/Replay/Replay.hpp"

#include "AmbrelKit/Simulated/Replay/ScriptReader.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptRunner.hpp"
#include "AmbrelKit/Simulated/Replay/TraceWriter.hpp"

#include <utility>

namespace AmbrelKit::Simulated {

void replay(std::istream& script, TraceOptions options,
            std::function<void(std::string_view)> print) {
    ScriptReader reader(script);
    TraceWriter writer(options, std::move(print));
    Platform platform(reader.header().platform);
    ScriptRunner runner(platform, reader.header(),
                        [&](const Event& event) { writer.write(event); });
    while (const auto step = reader.next()) {
        runner.run(*step);
        if (std::holds_alternative<ScriptActions::End>(step->action)) {
            break;
        }
    }
}

} // namespace AmbrelKit::Simulated
