#ifndef AMBREL_FUZZ_SUPPORT_VIRTUALTIME_HPP
#define AMBREL_FUZZ_SUPPORT_VIRTUALTIME_HPP

#include <chrono>

/// While one lives, the monotonic clocks and the time of day (not `system_clock`, by which the
/// fuzzer itself goes) stand still but for `pass`: what waits for a time is tried without waiting.
/// Timers of the kernel never fire; a loop that looks at the clock does what is due.
class VirtualTime {
public:
    VirtualTime();
    ~VirtualTime();
    VirtualTime(const VirtualTime&) = delete;
    VirtualTime& operator=(const VirtualTime&) = delete;

    static void pass(std::chrono::nanoseconds time);
};

#endif
