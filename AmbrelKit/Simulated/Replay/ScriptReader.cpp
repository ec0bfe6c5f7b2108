#include "AmbrelKit/Simulated/Replay/ScriptReader.hpp"

#include "AmbrelKit/Platform/JSONText.hpp"
#include "AmbrelKit/Simulated/Replay/LineGrammar.hpp"
#include "AmbrelKit/Simulated/Replay/Seconds.hpp"

#include <cerrno>
#include <system_error>

namespace AmbrelKit::Simulated {

ScriptReader::ScriptReader(std::istream& script) : script_(script) {
    const ScriptValue* line = nextLine();
    if (line == nullptr) {
        throw ScriptError(line_ + 1, "the header is missing");
    }
    try {
        header_ = headerOf(*line);
    } catch (const LineError& error) {
        throw ScriptError(line_, error.what());
    }
}

std::optional<ScriptStep> ScriptReader::next() {
    const ScriptValue* line = nextLine();
    if (line == nullptr) {
        return std::nullopt;
    }
    try {
        ScriptStep step = stepOf(*line);
        step.line = line_;
        checkTime(step);
        return step;
    } catch (const LineError& error) {
        throw ScriptError(line_, error.what());
    }
}

const ScriptValue* ScriptReader::nextLine() {
    errno = 0;
    try {
        while (readJSONLine(script_, text_)) {
            ++line_;
            if (text_.find_first_not_of(" \t\r") != std::string::npos) {
                return &parser_.parse(text_);
            }
        }
    } catch (const LineError& error) {
        throw ScriptError(line_, error.what());
    } catch (const JSONTextError& error) {
        throw ScriptError(line_ + 1, error.what());
    }
    if (script_.bad()) {
        throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(),
                                "can't read the script");
    }
    return nullptr;
}

/// Time does not go back, and the wall clock stays within what the kit's points in time can hold.
void ScriptReader::checkTime(ScriptStep& step) {
    if (step.at < lastAt_) {
        throw LineError("\"at\" is before that of the step before");
    }
    const auto sinceStart = sum(header_.platform.start, step.at);
    const auto* clock = std::get_if<ScriptActions::Clock>(&step.action);
    if (!sinceStart || !sum(*sinceStart, offset_) ||
        (clock != nullptr && !sum(*sinceStart, clock->offset))) {
        throw LineError("the wall clock is out of range");
    }
    lastAt_ = step.at;
    if (clock != nullptr) {
        offset_ = clock->offset;
    }
}

} // namespace AmbrelKit::Simulated
