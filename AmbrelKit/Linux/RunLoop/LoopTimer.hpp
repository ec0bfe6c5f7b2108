#ifndef AMBRELKIT_LINUX_RUNLOOP_LOOPTIMER_HPP
#define AMBRELKIT_LINUX_RUNLOOP_LOOPTIMER_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

namespace AmbrelKit::Linux {

/// An interval as a timer can keep it. One of no length would never let the loop sleep, one of
/// centuries would overflow the clock; both come from a host's mistake and stay harmless.
inline std::chrono::nanoseconds keepableInterval(double seconds) {
    constexpr double shortest = 1e-4;
    constexpr double longest = 1e9;
    const double kept = seconds >= shortest ? std::min(seconds, longest) : shortest; // also for NaN
    return std::chrono::round<std::chrono::nanoseconds>(std::chrono::duration<double>(kept));
}

/// Rearmed from its own deadline, so that lateness never adds up.
class LoopTimer final : public Timer {
public:
    LoopTimer(double interval, bool repeats, TimerTick tick)
        : interval_(keepableInterval(interval)), repeats_(repeats), tick_(std::move(tick)) {}

    static std::shared_ptr<LoopTimer> schedule(EventLoop& loop, double interval, bool repeats,
                                               TimerTick tick) {
        auto timer = std::make_shared<LoopTimer>(interval, repeats, std::move(tick));
        timer->due_ = std::chrono::steady_clock::now() + timer->interval_;
        timer->deadline_ = loop.deadline(weakly(timer, &LoopTimer::fire));
        timer->deadline_->arm(timer->due_);
        return timer;
    }

    void invalidate() override { deadline_.reset(); }

private:
    void fire() {
        if (repeats_) {
            const auto now = std::chrono::steady_clock::now();
            due_ += interval_;
            if (due_ <= now) { // ticks that were slept through are not made up for
                due_ += (now - due_) / interval_ * interval_ + interval_;
            }
            deadline_->arm(due_);
        } else {
            deadline_.reset();
        }
        tick_(*this);
    }

    std::chrono::nanoseconds interval_;
    bool repeats_;
    TimerTick tick_;
    std::chrono::steady_clock::time_point due_;
    std::shared_ptr<Deadline> deadline_;
};

} // namespace AmbrelKit::Linux

#endif
