#ifndef AMBRELKIT_LINUX_LIFECYCLE_COLLECTIONCLOCK_HPP
#define AMBRELKIT_LINUX_LIFECYCLE_COLLECTIONCLOCK_HPP

#include "AmbrelKit/Platform/Timer.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace AmbrelKit::Linux {

class CollectionTimer;

/// What time it is for the kits of this process, and when their collections tick.
///
/// While a collection runs, which its timer shows, the time is steady: it goes on with the time
/// since the machine was booted, sleep included, from what the collection's opening was told,
/// whoever sets the wall clock meanwhile. Between collections it is the wall clock's, but never
/// goes back, since records that lie in the future would count as open: where the wall clock was
/// set back, it goes on from the time told last, by half a minute at most from one question to the
/// next, until the wall clock has caught up.
class CollectionClock {
public:
    using TimePoint = std::chrono::system_clock::time_point;
    using Boot = std::chrono::nanoseconds; ///< since the machine was booted

    /// More than what a finished record is delivered again for.
    static constexpr std::chrono::seconds pastReuse{31};

    /// The one of the process, never destroyed.
    static CollectionClock& shared();
    CollectionClock();

    TimePoint now();

    /// The same, which is not told to a kit: the time does not go on for it.
    [[nodiscard]] TimePoint reading() const;

    /// Makes the timers of collections out of `timers`: from when one is made until it is
    /// invalidated or gone, a collection runs.
    [[nodiscard]] TimerFactory timerFactory(TimerFactory timers);

    /// When the collection was begun that runs, of several the last; nothing when none does.
    [[nodiscard]] std::optional<Boot> begun() const;

    /// Has every running collection tick now, in place of a tick that sleep has put off.
    void tick() const;

    /// While one is held no collection ticks by its timer.
    class Pause {
    public:
        explicit Pause(CollectionClock& clock) : clock_(clock) { ++clock_.pauses_; }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;
        ~Pause() { --clock_.pauses_; }

    private:
        CollectionClock& clock_;
    };

    // What it reads. Replaceable, for tests.
    std::function<TimePoint()> wallClock;
    std::function<Boot()> sinceBoot;

private:
    friend class CollectionTimer;
    void begin();
    void end();

    TimePoint told_ = TimePoint::min(); ///< at `toldAt_`
    Boot toldAt_{0};
    int running_ = 0;
    Boot begun_{0}; ///< the last of them
    int pauses_ = 0;
    WeakList<CollectionTimer> timers_;
};

} // namespace AmbrelKit::Linux

#endif
