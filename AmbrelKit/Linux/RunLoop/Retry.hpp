#ifndef AMBRELKIT_LINUX_RUNLOOP_RETRY_HPP
#define AMBRELKIT_LINUX_RUNLOOP_RETRY_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace AmbrelKit::Linux {

/// Does something again after a while, and after twice as long each time until it is reset; after
/// half of that already if another deadline wakes the loop then. Gone, it does it no more, also
/// when it goes inside its own callback.
class Retry {
public:
    struct Delays {
        std::chrono::milliseconds first;
        std::chrono::milliseconds longest;
    };

    Retry(EventLoop& loop, Delays delays, std::function<void()> again)
        : delays_(delays), next_(delays.first),
          deadline_(loop.deadline([this, again = std::move(again)] {
              pending_ = false;
              again();
          })) {}
    Retry(const Retry&) = delete;
    Retry& operator=(const Retry&) = delete;
    ~Retry() = default;

    void schedule() {
        pending_ = true;
        deadline_->arm(std::chrono::steady_clock::now() + next_ / 2, next_ / 2);
        next_ = std::min(next_ * 2, delays_.longest);
    }

    /// What was scheduled is not done; the next time it takes as long as it would have taken.
    void cancel() {
        pending_ = false;
        deadline_->disarm();
    }

    /// As `cancel`, and begins with the shortest delay again: it went well.
    void reset() {
        cancel();
        next_ = delays_.first;
    }

    [[nodiscard]] bool pending() const { return pending_; }

private:
    Delays delays_;
    std::chrono::milliseconds next_;
    bool pending_ = false;
    std::shared_ptr<Deadline> deadline_;
};

} // namespace AmbrelKit::Linux

#endif
