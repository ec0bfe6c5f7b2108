#include "AmbrelKit/Linux/Lifecycle/CollectionClock.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <ctime>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

CollectionClock::Boot readBootTime() {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

/// Has the clock know that a collection runs.
class CollectionTimer final : public Timer, public std::enable_shared_from_this<CollectionTimer> {
public:
    CollectionTimer(CollectionClock& clock, TimerTick tick)
        : clock_(clock), tick_(std::move(tick)) {}
    CollectionTimer(const CollectionTimer&) = delete;
    CollectionTimer& operator=(const CollectionTimer&) = delete;
    ~CollectionTimer() override { CollectionTimer::invalidate(); }

    void schedule(const TimerFactory& timers, double interval, bool repeats) {
        timer_ = timers(interval, repeats, [weak = weak_from_this()](Timer&) {
            if (const auto timer = weak.lock(); timer && timer->clock_.pauses_ == 0) {
                timer->tick();
            }
        });
        clock_.begin();
    }

    void invalidate() override {
        if (const auto timer = std::exchange(timer_, nullptr)) {
            timer->invalidate();
            clock_.end();
        }
    }

    void tick() {
        if (timer_) {
            tick_(*this);
        }
    }

private:
    CollectionClock& clock_;
    TimerTick tick_;
    std::shared_ptr<Timer> timer_;
};

CollectionClock& CollectionClock::shared() {
    static auto& clock = *new CollectionClock;
    return clock;
}

CollectionClock::CollectionClock()
    : wallClock(std::chrono::system_clock::now), sinceBoot(readBootTime) {}

CollectionClock::TimePoint CollectionClock::now() {
    const TimePoint time = reading();
    if (running_ == 0) {
        told_ = time;
        toldAt_ = sinceBoot();
    }
    return time;
}

CollectionClock::TimePoint CollectionClock::reading() const {
    const auto passed = std::chrono::floor<TimePoint::duration>(sinceBoot() - toldAt_);
    return running_ > 0
               ? told_ + passed
               : std::max(wallClock(), told_ + std::min<TimePoint::duration>(passed, pastReuse));
}

TimerFactory CollectionClock::timerFactory(TimerFactory timers) {
    return [this, timers = std::move(timers)](double interval, bool repeats, TimerTick tick) {
        auto timer = std::make_shared<CollectionTimer>(*this, std::move(tick));
        timer->schedule(timers, interval, repeats);
        timers_.add(timer);
        return timer;
    };
}

std::optional<CollectionClock::Boot> CollectionClock::begun() const {
    return running_ > 0 ? std::optional(begun_) : std::nullopt;
}

void CollectionClock::tick() const {
    timers_.each([](CollectionTimer& timer) { timer.tick(); });
}

/// The opening has asked for the time right before, and that is where it goes on from.
void CollectionClock::begin() {
    if (told_ == TimePoint::min()) {
        now();
    }
    ++running_;
    begun_ = sinceBoot();
}

void CollectionClock::end() {
    told_ = now();
    toldAt_ = sinceBoot();
    --running_;
}

} // namespace AmbrelKit::Linux
