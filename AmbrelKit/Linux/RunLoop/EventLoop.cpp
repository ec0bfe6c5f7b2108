#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include "AmbrelKit/Linux/RunLoop/OfThisThread.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <systemd/sd-event.h>
#include <unistd.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// Anything longer is added up by sd-event into a quarter of a second of delay for each timer.
constexpr std::uint64_t accuracyMicroseconds = 1;

/// A loop that is polled by a host gives the host a turn after this many callbacks.
constexpr int callbacksPerDispatch = 256;

int checked(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), what);
    }
    return result;
}

std::uint64_t microseconds(std::chrono::steady_clock::time_point time) {
    const auto count =
        std::chrono::ceil<std::chrono::microseconds>(time.time_since_epoch()).count();
    return count > 0 ? static_cast<std::uint64_t>(count) : 0;
}

/// An interval as a timer can keep it. One of no length would never let the loop sleep, one of
/// centuries would overflow the clock; both come from a host's mistake and stay harmless.
std::chrono::nanoseconds keepable(double seconds) {
    constexpr double shortest = 1e-4;
    constexpr double longest = 1e9;
    const double kept = seconds >= shortest ? std::min(seconds, longest) : shortest; // also for NaN
    return std::chrono::round<std::chrono::nanoseconds>(std::chrono::duration<double>(kept));
}

/// Rearmed from its own deadline, so that lateness never adds up.
class LoopTimer final : public Timer {
public:
    LoopTimer(double interval, bool repeats, TimerTick tick)
        : interval_(keepable(interval)), repeats_(repeats), tick_(std::move(tick)) {}

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

} // namespace

EventSource::EventSource(EventLoop& loop) : loop_(loop.weak_from_this()) {}

EventSource::~EventSource() { sd_event_source_disable_unref(source_); }

DescriptorWatch::DescriptorWatch(EventLoop& loop, int descriptor, std::uint32_t events,
                                 std::function<void(std::uint32_t)> ready)
    : EventSource(loop), ready_(std::move(ready)) {
    checked(sd_event_add_io(loop.native(), &source_, descriptor, events, &run, this),
            "watch a descriptor");
}

void DescriptorWatch::setEvents(std::uint32_t events) {
    checked(sd_event_source_set_io_events(source_, events), "watch a descriptor");
}

int DescriptorWatch::run(sd_event_source* /*source*/, int /*descriptor*/, std::uint32_t events,
                         void* self) {
    const auto keep = static_cast<DescriptorWatch*>(self)->shared_from_this();
    if (const auto loop = keep->loop_.lock()) {
        loop->guarded([&] { keep->ready_(events); });
    }
    return 0;
}

Deadline::Deadline(EventLoop& loop, std::function<void()> due)
    : EventSource(loop), due_(std::move(due)) {
    checked(sd_event_add_time(loop.native(), &source_, CLOCK_MONOTONIC,
                              std::numeric_limits<std::uint64_t>::max(), accuracyMicroseconds, &run,
                              this),
            "schedule a timer");
    sd_event_source_set_enabled(source_, SD_EVENT_OFF);
}

void Deadline::arm(std::chrono::steady_clock::time_point time) {
    checked(sd_event_source_set_time(source_, microseconds(time)), "arm a timer");
    checked(sd_event_source_set_enabled(source_, SD_EVENT_ONESHOT), "arm a timer");
    if (const auto loop = loop_.lock()) {
        loop->touch();
    }
}

void Deadline::disarm() { sd_event_source_set_enabled(source_, SD_EVENT_OFF); }

int Deadline::run(sd_event_source* /*source*/, std::uint64_t /*due*/, void* self) {
    const auto keep = static_cast<Deadline*>(self)->shared_from_this();
    if (const auto loop = keep->loop_.lock()) {
        loop->guarded([&] { keep->due_(); });
    }
    return 0;
}

EventLoop::EventLoop() {
    checked(sd_event_new(&event_), "make an event loop");
    try {
        wakeDescriptor_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (wakeDescriptor_ < 0) {
            throw std::system_error(errno, std::generic_category(), "make an event descriptor");
        }
        checked(sd_event_add_io(event_, &wakeSource_, wakeDescriptor_, EPOLLIN, &drainWake, this),
                "watch an event descriptor");
        // All timers share a descriptor: from here on one can be had without a further one.
        checked(sd_event_add_time(event_, &clockSource_, CLOCK_MONOTONIC,
                                  std::numeric_limits<std::uint64_t>::max(), accuracyMicroseconds,
                                  nullptr, nullptr),
                "prepare the timers");
        checked(sd_event_source_set_enabled(clockSource_, SD_EVENT_OFF), "prepare the timers");
    } catch (...) {
        release();
        throw;
    }
}

EventLoop::~EventLoop() { release(); }

void EventLoop::release() noexcept {
    sd_event_source_disable_unref(wakeSource_);
    sd_event_source_disable_unref(clockSource_);
    sd_event_unref(event_);
    if (wakeDescriptor_ >= 0) {
        close(wakeDescriptor_);
    }
}

int EventLoop::drainWake(sd_event_source* /*source*/, int descriptor, std::uint32_t /*events*/,
                         void* self) {
    eventfd_t count = 0;
    eventfd_read(descriptor, &count);
    static_cast<EventLoop*>(self)->touched_ = false;
    return 0;
}

std::shared_ptr<EventLoop> EventLoop::current() {
    return ofThisThread([] { return std::shared_ptr<EventLoop>(new EventLoop); });
}

void EventLoop::run() {
    const auto keep = enter();
    throwFailure();
    while (!std::exchange(stopping_, false)) {
        turn([this] { return sd_event_run(event_, std::numeric_limits<std::uint64_t>::max()); });
        throwFailure();
    }
    touch(); // what the last callback changed is not armed yet, and the host may go on by poll()
}

void EventLoop::checkThread() const {
    assert(thread_ == std::this_thread::get_id() && "a run loop is used on another thread");
}

void EventLoop::stop() {
    checkThread();
    stopping_ = true;
    touch();
}

int EventLoop::fileDescriptor() const {
    return checked(sd_event_get_fd(event_), "ask for the event loop's descriptor");
}

void EventLoop::dispatch() {
    const auto keep = enter();
    throwFailure();
    for (int i = 0; i < callbacksPerDispatch; ++i) {
        const bool due = checked(sd_event_prepare(event_), "prepare the event loop") > 0 ||
                         checked(sd_event_wait(event_, 0), "look for events") > 0;
        if (!due) { // and armed for the host's next poll
            return;
        }
        turn([this] { return sd_event_dispatch(event_); });
        throwFailure();
    }
    touch();
}

std::shared_ptr<EventLoop> EventLoop::enter() {
    checkThread();
    if (turning_) {
        throw std::logic_error("a run loop can't be run from a callback of its own");
    }
    return shared_from_this();
}

template <class Step> void EventLoop::turn(Step step) {
    turning_ = true;
    const int result = step();
    turning_ = false;
    checked(result, "run the event loop");
}

void EventLoop::throwFailure() {
    if (failures_.empty()) {
        return;
    }
    const auto failure = failures_.front();
    failures_.pop_front();
    touch(); // what else is due must not wait for news from outside
    std::rethrow_exception(failure);
}

void EventLoop::touch() noexcept {
    if (turning_ || std::exchange(touched_, true)) {
        return;
    }
    eventfd_write(wakeDescriptor_, 1);
}

std::shared_ptr<Timer> EventLoop::scheduledTimer(double interval, bool repeats, TimerTick tick) {
    checkThread();
    return LoopTimer::schedule(*this, interval, repeats, std::move(tick));
}

std::shared_ptr<DescriptorWatch> EventLoop::watch(int descriptor, std::uint32_t events,
                                                  std::function<void(std::uint32_t)> ready) {
    return std::shared_ptr<DescriptorWatch>(
        new DescriptorWatch(*this, descriptor, events, std::move(ready)));
}

std::shared_ptr<Deadline> EventLoop::deadline(std::function<void()> due) {
    return std::shared_ptr<Deadline>(new Deadline(*this, std::move(due)));
}

} // namespace AmbrelKit::Linux

namespace AmbrelKit {

std::shared_ptr<RunLoop> RunLoop::current() { return Linux::EventLoop::current(); }

} // namespace AmbrelKit
