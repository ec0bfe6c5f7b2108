#ifndef AMBRELKIT_SIMULATED_REPLAY_SCRIPTWRITER_HPP
#define AMBRELKIT_SIMULATED_REPLAY_SCRIPTWRITER_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Simulated/Replay/Script.hpp"

#include <string>

namespace AmbrelKit::Simulated {

// Lines of a script, without their line feed: what is read of them is what they were written of.
// Bytes of a text that are not UTF-8 are replaced.

/// The first line.
[[nodiscard]] AMBRELKIT_API std::string scriptLine(const ScriptHeader& header);

/// Any other line. The step's time is not negative.
[[nodiscard]] AMBRELKIT_API std::string scriptLine(const ScriptStep& step);

} // namespace AmbrelKit::Simulated

#endif
