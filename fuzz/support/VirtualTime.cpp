#include "fuzz/support/VirtualTime.hpp"

#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr long nanosecondsInSecond = 1'000'000'000;

bool stands = false;
std::chrono::nanoseconds now{};
std::chrono::nanoseconds timeOfDay{};

std::chrono::nanoseconds readClock(clockid_t clock) {
    timespec time{};
    syscall(SYS_clock_gettime, clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

VirtualTime::VirtualTime() {
    now = std::max(now, readClock(CLOCK_BOOTTIME)); // never back
    timeOfDay = std::max(timeOfDay, readClock(CLOCK_REALTIME));
    stands = true;
}

VirtualTime::~VirtualTime() { stands = false; }

void VirtualTime::pass(std::chrono::nanoseconds time) {
    now += time;
    timeOfDay += time;
}

// In the place of the C library's, for every library of this program.

extern "C" int clock_gettime(clockid_t clock, timespec* time) {
    if (!stands || clock == CLOCK_REALTIME || clock == CLOCK_PROCESS_CPUTIME_ID ||
        clock == CLOCK_THREAD_CPUTIME_ID) {
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    }
    time->tv_sec = now.count() / nanosecondsInSecond;
    time->tv_nsec = now.count() % nanosecondsInSecond;
    return 0;
}

extern "C" int gettimeofday(timeval* time, void* /*zone*/) noexcept {
    const auto told = stands ? timeOfDay : readClock(CLOCK_REALTIME);
    time->tv_sec = told.count() / nanosecondsInSecond;
    time->tv_usec = told.count() % nanosecondsInSecond / 1000;
    return 0;
}
