#ifndef AMBRELKIT_SIMULATED_REPLAY_LINEGRAMMAR_HPP
#define AMBRELKIT_SIMULATED_REPLAY_LINEGRAMMAR_HPP

#include "AmbrelKit/Simulated/Replay/Script.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptValue.hpp"

namespace AmbrelKit::Simulated {

/// What a script's first line says. Throws LineError.
[[nodiscard]] ScriptHeader headerOf(const ScriptValue& line);

/// What any other line says; its number is left at 0. Throws LineError.
[[nodiscard]] ScriptStep stepOf(const ScriptValue& line);

/// What such a line says but for its time, which it must not have. Throws LineError.
[[nodiscard]] ScriptAction actionOf(const ScriptValue& line);

} // namespace AmbrelKit::Simulated

#endif
