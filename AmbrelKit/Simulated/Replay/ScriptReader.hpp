#ifndef AMBRELKIT_SIMULATED_REPLAY_SCRIPTREADER_HPP
#define AMBRELKIT_SIMULATED_REPLAY_SCRIPTREADER_HPP

#include "AmbrelKit/Simulated/Replay/Script.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptValue.hpp"

#include <chrono>
#include <cstddef>
#include <istream>
#include <optional>
#include <string>

namespace AmbrelKit::Simulated {

/// Reads a script line by line; no more of it is held than one line. What a step takes effect on is
/// the runner's; everything else that can be wrong with a line is found here.
class ScriptReader {
public:
    /// Reads the header. Throws as `next()` does.
    AMBRELKIT_SEAM explicit ScriptReader(std::istream& script);

    [[nodiscard]] const ScriptHeader& header() const { return header_; }

    /// The next step, or nothing at the end of the text. Throws ScriptError, and
    /// std::system_error when the text can't be read.
    AMBRELKIT_SEAM std::optional<ScriptStep> next();

private:
    /// The next line that is not blank; null at the end.
    const ScriptValue* nextLine();
    void checkTime(ScriptStep& step);

    std::istream& script_;
    LineParser parser_;
    std::string text_;
    std::size_t line_ = 0;
    ScriptHeader header_;
    std::chrono::nanoseconds lastAt_{};
    std::chrono::nanoseconds offset_{};
};

} // namespace AmbrelKit::Simulated

#endif
