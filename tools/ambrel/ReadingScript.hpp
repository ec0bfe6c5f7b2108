#ifndef AMBREL_READINGSCRIPT_HPP
#define AMBREL_READINGSCRIPT_HPP

#include "AmbrelKit/Simulated/Replay/Script.hpp"
#include "tools/ambrel/Commands.hpp"

#include <string>
#include <system_error>

namespace Ambrel {

/// Runs `body`, which reads or runs a script. Throws `CommandError` where that is wrong, with the
/// line, or can't be read.
template <class Body> auto readingScript(const std::string& name, Body body) {
    try {
        return body();
    } catch (const AmbrelKit::Simulated::ScriptError& error) {
        throw CommandError(badInput,
                           name + ":" + std::to_string(error.line()) + ": " + error.what());
    } catch (const std::system_error& error) {
        throw CommandError(failed, name + ": " + error.what());
    }
}

} // namespace Ambrel

#endif
