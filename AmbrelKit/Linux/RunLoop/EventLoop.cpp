#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Linux/RunLoop/LoopTimer.hpp"
#include "AmbrelKit/Linux/RunLoop/OfThisThread.hpp"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <limits>
#include <stdexcept>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// Anything longer is added up by sd-event into a quarter of a second of delay for each timer.
constexpr std::uint64_t accuracyMicroseconds = 1;

constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

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
    : loop_(loop.weak_from_this()), due_(std::move(due)) {}

void Deadline::arm(Time time, std::chrono::nanoseconds slack) {
    if (const auto loop = loop_.lock()) {
        disarm();
        armed_ = loop->deadlines_.emplace(time, this);
        slack_ = slack;
        loop->touch();
    }
}

void Deadline::disarm() {
    if (const auto loop = armed_ ? loop_.lock() : nullptr) {
        loop->deadlines_.erase(*armed_);
    }
    armed_.reset();
}

void Deadline::run() {
    const auto keep = shared_from_this();
    disarm();
    due_();
}

Deferral::Deferral(EventLoop& loop, std::function<void()> run)
    : EventSource(loop), run_(std::move(run)) {
    checked(sd_event_add_defer(loop.native(), &source_, &Deferral::run, this), "defer a call");
    sd_event_source_set_enabled(source_, SD_EVENT_OFF);
}

void Deferral::schedule() {
    checked(sd_event_source_set_enabled(source_, SD_EVENT_ONESHOT), "defer a call");
    if (const auto loop = loop_.lock()) {
        loop->touch();
    }
}

int Deferral::run(sd_event_source* /*source*/, void* self) {
    const auto keep = static_cast<Deferral*>(self)->shared_from_this();
    if (const auto loop = keep->loop_.lock()) {
        loop->guarded([&] { keep->run_(); });
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
        checked(sd_event_add_time(event_, &clockSource_, CLOCK_MONOTONIC, never,
                                  accuracyMicroseconds, &clockRang, this),
                "prepare the timers");
        checked(sd_event_add_defer(event_, &dueSource_, &runDue, this), "prepare the timers");
        checked(sd_event_source_set_enabled(dueSource_, SD_EVENT_OFF), "prepare the timers");
    } catch (...) {
        release();
        throw;
    }
}

EventLoop::~EventLoop() { release(); }

void EventLoop::release() noexcept {
    sd_event_source_disable_unref(wakeSource_);
    sd_event_source_disable_unref(clockSource_);
    sd_event_source_disable_unref(dueSource_);
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

int EventLoop::clockRang(sd_event_source* source, std::uint64_t /*due*/, void* self) {
    return runDue(source, self);
}

/// Runs all that are due, one after the other, in one turn: a turn costs more than most of them.
int EventLoop::runDue(sd_event_source* /*source*/, void* self) {
    auto& loop = *static_cast<EventLoop*>(self);
    const auto& deadlines = loop.deadlines_;
    while (!deadlines.empty() && deadlines.begin()->first <= std::chrono::steady_clock::now()) {
        loop.guarded([&] { deadlines.begin()->second->run(); });
        if (--loop.callbacksLeft_ <= 0 || loop.stopping_ || !loop.failures_.empty()) {
            break;
        }
    }
    return 0;
}

/// Only before the loop looks for events: so the kernel is told at most once for a sleep, and not
/// at all of what is due by now.
void EventLoop::setClock() {
    auto latest = Deadline::Time::max();
    for (const auto& [time, deadline] : deadlines_) {
        if (time >= latest) {
            break;
        }
        latest = std::min(latest, time + deadline->slack_);
    }
    if (latest <= std::chrono::steady_clock::now()) {
        checked(sd_event_source_set_enabled(dueSource_, SD_EVENT_ONESHOT), "arm the timers");
        return;
    }
    checked(sd_event_source_set_time(clockSource_,
                                     latest < Deadline::Time::max() ? microseconds(latest) : never),
            "arm the timers");
    checked(sd_event_source_set_enabled(clockSource_, SD_EVENT_ONESHOT), "arm the timers");
}

std::shared_ptr<EventLoop> EventLoop::current() {
    return ofThisThread([] { return std::shared_ptr<EventLoop>(new EventLoop); });
}

void EventLoop::run() {
    const auto keep = enter();
    throwFailure();
    while (!std::exchange(stopping_, false)) {
        callbacksLeft_ = callbacksPerDispatch;
        setClock();
        turn([this] { return sd_event_run(event_, never); });
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
    for (callbacksLeft_ = callbacksPerDispatch; callbacksLeft_ > 0; --callbacksLeft_) {
        setClock();
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

std::shared_ptr<Deferral> EventLoop::deferral(std::function<void()> run) {
    return std::shared_ptr<Deferral>(new Deferral(*this, std::move(run)));
}

} // namespace AmbrelKit::Linux

namespace AmbrelKit {

std::shared_ptr<RunLoop> RunLoop::current() { return Linux::EventLoop::current(); }

} // namespace AmbrelKit
