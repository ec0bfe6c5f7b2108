#ifndef AMBRELKIT_SIMULATED_REPLAY_REPLAY_HPP
#define AMBRELKIT_SIMULATED_REPLAY_REPLAY_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Simulated/Replay/Script.hpp"

#include <functional>
#include <istream>
#include <string_view>

namespace AmbrelKit::Simulated {

/// What is written of a run.
struct TraceOptions {
    bool queries = false; ///< the questions that the host's delegate is asked, too
    bool quiet = false;   ///< nothing but the delivered dictionaries, whatever `queries` says
};

/// Runs a script, line by line as it comes in, and prints what the kit did: `print` is given each
/// line of the trace, with its line feed, as it is written, and must not throw. Returns when the
/// script says so or ends. Throws ScriptError when a line is wrong; the steps before it have run.
/// Throws std::system_error when the script can't be read.
///
/// The settings of the process belong to the run meanwhile, as `Platform` says: no other kit may
/// collect then. Time is virtual, and waits for nothing but the script.
AMBRELKIT_API void replay(std::istream& script, TraceOptions options,
                          std::function<void(std::string_view line)> print);

} // namespace AmbrelKit::Simulated

#endif
