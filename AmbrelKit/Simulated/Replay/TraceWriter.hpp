#ifndef AMBRELKIT_SIMULATED_REPLAY_TRACEWRITER_HPP
#define AMBRELKIT_SIMULATED_REPLAY_TRACEWRITER_HPP

#include "AmbrelKit/Simulated/Context.hpp"

#include <functional>
#include <string>
#include <string_view>

namespace AmbrelKit::Simulated {

/// What is written of a run.
struct TraceOptions {
    bool queries = false; ///< the questions that the host's delegate is asked, too
    bool quiet = false;   ///< nothing but the delivered dictionaries, whatever `queries` says
};

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
