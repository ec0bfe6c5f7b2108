#ifndef AMBRELKIT_SIMULATED_VIRTUALCLOCK_HPP
#define AMBRELKIT_SIMULATED_VIRTUALCLOCK_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/Timer.hpp"
#include "AmbrelKit/Simulated/Context.hpp"

#include <chrono>
#include <memory>

namespace AmbrelKit::Simulated {

/// Time that passes only when it is told to, and the timers that run on it.
class VirtualClock {
public:
    /// A `Platform` makes it.
    AMBRELKIT_API explicit VirtualClock(std::shared_ptr<Context> context);

    /// Virtual time: how much has passed since the start, whatever the wall clock was set to.
    [[nodiscard]] std::chrono::nanoseconds now() const { return context_->now; }

    /// Sets the wall clock to start + now + `offset` from now on. Timers do not notice.
    void setOffset(std::chrono::nanoseconds offset) { context_->offset = offset; }

    /// Schedules a timer, as `TimerFactory` says. Throws std::invalid_argument when `interval` is
    /// not more than 0.
    [[nodiscard]] AMBRELKIT_API std::shared_ptr<Timer> scheduledTimer(double interval, bool repeats,
                                                                      TimerTick tick);

    /// Runs `tick` once when time is advanced next, also by nothing, before it passes. No event
    /// tells of it.
    [[nodiscard]] AMBRELKIT_API std::shared_ptr<Timer> soon(TimerTick tick);

    /// Runs every fire that is due at or before `time`, in order of due time (timers due at the
    /// same time: the one scheduled first), each at its own due time, then sets the time to `time`;
    /// an earlier time than now changes nothing. What a tick throws leaves through here; that fire
    /// counts as done. Not to be called from inside a tick.
    AMBRELKIT_API void advanceTo(std::chrono::nanoseconds time);

    /// The same, `duration` from now.
    void advanceBy(std::chrono::nanoseconds duration) { advanceTo(now() + duration); }

private:
    class ScheduledTimer;
    struct Schedule;

    std::shared_ptr<Context> context_;
    std::shared_ptr<Schedule> schedule_;
};

} // namespace AmbrelKit::Simulated

#endif
