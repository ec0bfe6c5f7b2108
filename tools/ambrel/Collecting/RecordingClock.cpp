#include "tools/ambrel/Collecting/RecordingClock.hpp"

#include <algorithm>

namespace Ambrel {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using std::chrono::system_clock;

namespace {

constexpr nanoseconds tickInterval = 1s;

} // namespace

RecordingClock::RecordingClock()
    : start_(std::chrono::floor<std::chrono::milliseconds>(system_clock::now().time_since_epoch())),
      nextTick_(tickInterval) {
    auto services = AmbrelKit::Linux::ProcessServices::current();
    services.currentDate = [this] {
        return system_clock::time_point(
            std::chrono::floor<system_clock::duration>(start_ + now_ + ahead_));
    };
    installed_ = services.install();
}

nanoseconds RecordingClock::timerIsScheduled() {
    scheduled_ = Clock::now();
    // A record is a little older than its timer, which is why ten ticks complete it.
    ahead_ = 1us;
    return ahead_;
}

void RecordingClock::tickRuns() {
    // It may be late by whole intervals when the process was held up.
    now_ = std::max(nextTick_, elapsed() / tickInterval * tickInterval);
    nextTick_ = now_ + tickInterval;
}

void RecordingClock::reportComes() { now_ = std::max(now_, std::min(elapsed(), nextTick_ - 1ns)); }

nanoseconds RecordingClock::elapsed() const {
    return scheduled_ ? Clock::now() - *scheduled_ : nanoseconds(0);
}

} // namespace Ambrel
