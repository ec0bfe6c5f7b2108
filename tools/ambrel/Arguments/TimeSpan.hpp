#ifndef AMBREL_TIMESPAN_HPP
#define AMBREL_TIMESPAN_HPP

#include <limits>

namespace CLI {
class App;
} // namespace CLI

namespace Ambrel {

/// From one point in time to another, both included, in seconds since 1970.
struct TimeSpan {
    double since = -std::numeric_limits<double>::infinity();
    double until = std::numeric_limits<double>::infinity();
};

/// Adds `--since` and `--until`, which choose the collections of `span`.
void addTimeSpan(CLI::App& command, TimeSpan& span);

} // namespace Ambrel

#endif
