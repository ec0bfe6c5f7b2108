#ifndef AMBRELKIT_SIMULATED_REPLAY_SCRIPTWRITER_HPP
#define AMBRELKIT_SIMULATED_REPLAY_SCRIPTWRITER_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Simulated/Replay/Script.hpp"

#include <string>

namespace AmbrelKit::Simulated {

/// The first line of a script, without its line feed: what is read of it is what it was written of.
/// Bytes of a text that are not UTF-8 are replaced. On any thread.
[[nodiscard]] AMBRELKIT_API std::string scriptLine(const ScriptHeader& header);

/// Any other line likewise. The step's time is not negative.
[[nodiscard]] AMBRELKIT_API std::string scriptLine(const ScriptStep& step);

} // namespace AmbrelKit::Simulated

#endif
