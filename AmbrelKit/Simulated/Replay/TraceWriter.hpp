#ifndef AMBRELKIT_SIMULATED_REPLAY_TRACEWRITER_HPP
#define AMBRELKIT_SIMULATED_REPLAY_TRACEWRITER_HPP

#include "AmbrelKit/Simulated/Context.hpp"
#include "AmbrelKit/Simulated/Replay/Replay.hpp"

#include <functional>
#include <string>
#include <string_view>

namespace AmbrelKit::Simulated {

/// Writes events as lines: one compact JSON object each, for example
/// `{"at":1.5,"timer":"schedule","interval":1.0,"repeats":true}`; with `quiet` the dictionary
/// alone.
class TraceWriter {
public:
    /// `print` is given each line, with its line feed, as it is written.
    TraceWriter(TraceOptions options, std::function<void(std::string_view line)> print);

    void write(const Event& event);

private:
    TraceOptions options_;
    std::function<void(std::string_view)> print_;
    std::string line_;
};

} // namespace AmbrelKit::Simulated

#endif
