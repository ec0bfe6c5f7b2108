#ifndef AMBREL_TESTS_SUPPORT_LOOPDRIVER_HPP
#define AMBREL_TESTS_SUPPORT_LOOPDRIVER_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

/// Drives this thread's loop as a host does that has a loop of its own: by its descriptor alone.
class LoopDriver {
public:
    /// Dispatches until `condition` holds; false when that takes longer than `limit`. What a
    /// callback throws leaves.
    bool until(const std::function<bool()>& condition,
               std::chrono::milliseconds limit = std::chrono::seconds(10)) const;

    /// Dispatches for so long, for what only time can bring.
    void during(std::chrono::milliseconds time) const;

    [[nodiscard]] const std::shared_ptr<AmbrelKit::Linux::EventLoop>& loop() const { return loop_; }

private:
    std::shared_ptr<AmbrelKit::Linux::EventLoop> loop_ = AmbrelKit::Linux::EventLoop::current();
};

/// Runs the loop until `condition`, which may be about a daemon, holds; false when it does not
/// within `limit`.
bool runUntil(const std::function<bool()>& condition,
              std::chrono::milliseconds limit = std::chrono::seconds(20));

/// How many descriptors this process has open.
std::size_t openDescriptors();

#endif
