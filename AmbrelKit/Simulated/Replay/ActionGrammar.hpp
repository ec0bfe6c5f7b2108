#ifndef AMBRELKIT_SIMULATED_REPLAY_ACTIONGRAMMAR_HPP
#define AMBRELKIT_SIMULATED_REPLAY_ACTIONGRAMMAR_HPP

#include "AmbrelKit/Simulated/Replay/Script.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptValue.hpp"

#include <string_view>

namespace AmbrelKit::Simulated {

/// Reads what stands under the key of an action. Throws LineError.
using ActionReader = ScriptAction (*)(const ScriptValue&);

/// The reader of the action that goes by this key; null where none does.
[[nodiscard]] ActionReader actionReader(std::string_view key);

} // namespace AmbrelKit::Simulated

#endif
