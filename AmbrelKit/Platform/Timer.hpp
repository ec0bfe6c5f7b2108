#ifndef AMBRELKIT_PLATFORM_TIMER_HPP
#define AMBRELKIT_PLATFORM_TIMER_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <functional>
#include <memory>

namespace AmbrelKit {

/// A scheduled timer. An owned handle: once it is invalidated, or its last reference is gone, it
/// does not fire.
class AMBRELKIT_API Timer {
public:
    virtual ~Timer() = default;

    /// Ends the timer for good. May be called inside its own tick, and again.
    virtual void invalidate() = 0;
};

/// What a timer runs; it is given the timer itself.
using TimerTick = std::function<void(Timer&)>;

/// Schedules a timer on the run loop of the calling thread. `interval` is in seconds, more than 0.
/// The n-th tick of a repeating timer is due n intervals after the scheduling, however late an
/// earlier one came; the first one is due after one interval. A tick never runs inside the factory.
using TimerFactory =
    std::function<std::shared_ptr<Timer>(double interval, bool repeats, TimerTick tick)>;

} // namespace AmbrelKit

#endif
