#include "AmbrelKit/Simulated/VirtualClock.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <stdexcept>
#include <utility>

namespace AmbrelKit::Simulated {

using std::chrono::nanoseconds;

namespace {

nanoseconds intervalOf(double seconds) {
    if (!(seconds > 0)) {
        throw std::invalid_argument("a timer's interval must be more than 0");
    }
    constexpr double longest = 9.2e18; // what still fits, and nobody waits for
    const double count = std::clamp(std::round(seconds * 1e9), 1.0, longest);
    return nanoseconds(static_cast<nanoseconds::rep>(count));
}

} // namespace

/// The timers that will fire, by due time and then by the order of scheduling. A timer takes itself
/// off when it ends.
struct VirtualClock::Schedule {
    using Place = std::pair<nanoseconds, std::uint64_t>;

    std::map<Place, ScheduledTimer*> timers;
    std::uint64_t scheduledCount = 0;
};

class VirtualClock::ScheduledTimer final : public Timer,
                                           public std::enable_shared_from_this<ScheduledTimer> {
public:
    ScheduledTimer(std::shared_ptr<Context> context, std::shared_ptr<Schedule> schedule,
                   nanoseconds interval, bool repeats, TimerTick tick)
        : context_(std::move(context)), schedule_(std::move(schedule)), interval_(interval),
          repeats_(repeats), tick_(std::move(tick)),
          place_(context_->now, schedule_->scheduledCount++) {
        if (findNextFire()) {
            schedule_->timers.emplace(place_, this);
        }
    }

    ScheduledTimer(const ScheduledTimer&) = delete;
    ScheduledTimer& operator=(const ScheduledTimer&) = delete;
    ~ScheduledTimer() override { leave(); }

    void invalidate() override {
        context_->report("timer", "invalidate");
        leave();
    }

    void fire() {
        auto entry = schedule_->timers.extract(place_); // moved, it takes no memory
        if (repeats_ && findNextFire()) {
            entry.key() = place_;
            schedule_->timers.insert(std::move(entry));
        }
        tick_(*this);
    }

private:
    /// False where it is due after all time.
    bool findNextFire() {
        if (place_.first > nanoseconds::max() - interval_) {
            return false;
        }
        place_.first += interval_;
        return true;
    }

    void leave() { schedule_->timers.erase(place_); }

    std::shared_ptr<Context> context_;
    std::shared_ptr<Schedule> schedule_;
    nanoseconds interval_;
    bool repeats_;
    TimerTick tick_;
    Schedule::Place place_;
};

VirtualClock::VirtualClock(std::shared_ptr<Context> context)
    : context_(std::move(context)), schedule_(std::make_shared<Schedule>()) {}

std::shared_ptr<Timer> VirtualClock::scheduledTimer(double interval, bool repeats, TimerTick tick) {
    const nanoseconds exactInterval = intervalOf(interval);
    context_->report("timer", "schedule", {{"interval", interval}, {"repeats", repeats}});
    return std::make_shared<ScheduledTimer>(context_, schedule_, exactInterval, repeats,
                                            std::move(tick));
}

std::shared_ptr<Timer> VirtualClock::soon(TimerTick tick) {
    return std::make_shared<ScheduledTimer>(context_, schedule_, nanoseconds(0), false,
                                            std::move(tick));
}

void VirtualClock::advanceTo(nanoseconds time) {
    auto& timers = schedule_->timers;
    while (!timers.empty() && timers.begin()->first.first <= time) {
        const auto timer = timers.begin()->second->shared_from_this();
        context_->now = std::max(context_->now, timers.begin()->first.first);
        timer->fire();
    }
    context_->now = std::max(context_->now, time);
}

} // namespace AmbrelKit::Simulated
