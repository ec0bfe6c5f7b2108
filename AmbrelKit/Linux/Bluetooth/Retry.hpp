#ifndef AMBRELKIT_LINUX_BLUETOOTH_RETRY_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_RETRY_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <utility>

namespace AmbrelKit::Linux {

/// Does something again after a while, and after twice as long each time until it is reset.
class Retry {
public:
    Retry(EventLoop& loop, std::function<void()> again)
        : deadline_(loop.deadline([this, again = std::move(again)] {
              pending_ = false;
              again();
          })) {}
    Retry(const Retry&) = delete;
    Retry& operator=(const Retry&) = delete;
    ~Retry() = default;

    void schedule() {
        pending_ = true;
        deadline_->arm(std::chrono::steady_clock::now() + delay_);
        delay_ = std::min(delay_ * 2, longest);
    }

    void reset() {
        pending_ = false;
        deadline_->disarm();
        delay_ = first;
    }

    [[nodiscard]] bool pending() const { return pending_; }

private:
    /// What stood in the way is gone for half a second at most before that is noticed. It may take
    /// long: a daemon that was killed leaves the kernel in a discovery that lasts for ten seconds,
    /// and refuses others meanwhile.
    static constexpr std::chrono::milliseconds first{50};
    static constexpr std::chrono::milliseconds longest{400};

    std::chrono::milliseconds delay_{first};
    bool pending_ = false;
    std::shared_ptr<Deadline> deadline_;
};

} // namespace AmbrelKit::Linux

#endif
