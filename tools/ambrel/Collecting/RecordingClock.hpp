#ifndef AMBREL_RECORDINGCLOCK_HPP
#define AMBREL_RECORDINGCLOCK_HPP

#include "AmbrelKit/Linux/ProcessServices.hpp"

#include <chrono>
#include <memory>
#include <optional>

namespace Ambrel {

/// The time of a recorded collection, and while it lives the clock that the process's kits read.
///
/// For a replay to deliver the same dictionary, the kit must read the same times in both, and each
/// report must stay on its side of every tick. So the kit reads the time of the step or tick that
/// it is handling, and a report that came after a tick was due but before it ran counts as before.
class RecordingClock {
public:
    RecordingClock();
    RecordingClock(const RecordingClock&) = delete;
    RecordingClock& operator=(const RecordingClock&) = delete;
    ~RecordingClock() = default;

    /// The wall clock at 0 of the script's time, since 1970: whole milliseconds.
    [[nodiscard]] std::chrono::nanoseconds start() const { return start_; }

    /// Of the step or tick that is being handled.
    [[nodiscard]] std::chrono::nanoseconds now() const { return now_; }

    /// The kit's timer is scheduled, at 0 of the script's time. Returns how far the wall clock is
    /// to be ahead of `start()` and `now()` from here on.
    std::chrono::nanoseconds timerIsScheduled();

    /// A tick is handled from here on, at the time that it was due.
    void tickRuns();

    /// A report is handled from here on, at the time that it came.
    void reportComes();

private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] std::chrono::nanoseconds elapsed() const;

    std::chrono::nanoseconds start_;
    std::optional<Clock::time_point> scheduled_;
    std::chrono::nanoseconds now_{0};
    std::chrono::nanoseconds ahead_{0};
    std::chrono::nanoseconds nextTick_;
    std::shared_ptr<void> installed_;
};

} // namespace Ambrel

#endif
