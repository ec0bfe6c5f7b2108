#ifndef AMBRELKIT_LINUX_RUNLOOP_EVENTLOOP_HPP
#define AMBRELKIT_LINUX_RUNLOOP_EVENTLOOP_HPP

#include "AmbrelKit/Platform/RunLoop.hpp"

#include <chrono>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <typeindex>
#include <typeinfo>

struct sd_event;
struct sd_event_source;

namespace AmbrelKit::Linux {

class EventLoop;

/// A registration with the loop. An owned handle: once it is gone its callback does not run, also
/// when it goes inside that callback.
class EventSource {
public:
    EventSource(const EventSource&) = delete;
    EventSource& operator=(const EventSource&) = delete;
    virtual ~EventSource();

protected:
    explicit EventSource(EventLoop& loop);

    std::weak_ptr<EventLoop> loop_;
    sd_event_source* source_ = nullptr;
};

/// Watches a descriptor that its owner keeps open for at least as long.
class DescriptorWatch final : public EventSource,
                              public std::enable_shared_from_this<DescriptorWatch> {
public:
    /// `events` and what the callback is given are EPOLLIN, EPOLLOUT, EPOLLHUP, EPOLLERR.
    void setEvents(std::uint32_t events);

private:
    friend class EventLoop;
    DescriptorWatch(EventLoop& loop, int descriptor, std::uint32_t events,
                    std::function<void(std::uint32_t)> ready);
    static int run(sd_event_source*, int, std::uint32_t events, void* self);

    std::function<void(std::uint32_t)> ready_;
};

/// Runs its callback once each time it was armed, at the time it was armed for (accurate to a
/// microsecond, never early). An owned handle, as an EventSource.
class Deadline final : public std::enable_shared_from_this<Deadline> {
public:
    using Time = std::chrono::steady_clock::time_point;

    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
    ~Deadline() { disarm(); }

    /// Replaces the time; one in the past runs at the loop's next turn. With `slack` it runs by
    /// then at the latest, and before as soon as another one wakes the loop after `time`.
    void arm(Time time, std::chrono::nanoseconds slack = {});
    void disarm();

private:
    friend class EventLoop;
    using Armed = std::multimap<Time, Deadline*>;

    Deadline(EventLoop& loop, std::function<void()> due);
    void run();

    std::weak_ptr<EventLoop> loop_;
    std::function<void()> due_;
    std::chrono::nanoseconds slack_{0};
    std::optional<Armed::iterator> armed_;
};

/// Runs its callback once each time it was scheduled, in a turn of the loop of its own. Unlike a
/// deadline that is due it costs no timer.
class Deferral final : public EventSource, public std::enable_shared_from_this<Deferral> {
public:
    void schedule();

private:
    friend class EventLoop;
    Deferral(EventLoop& loop, std::function<void()> run);
    static int run(sd_event_source*, void* self);

    std::function<void()> run_;
};

/// The run loop on sd-event. Everything that Linux sources register goes through here, so that a
/// change made from outside a turn of the loop makes the descriptor readable, and what a callback
/// throws never crosses a C frame.
class EventLoop final : public RunLoop, public std::enable_shared_from_this<EventLoop> {
public:
    static std::shared_ptr<EventLoop> current();
    ~EventLoop() override;
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    void run() override;
    void stop() override;
    [[nodiscard]] int fileDescriptor() const override;
    void dispatch() override;
    [[nodiscard]] std::shared_ptr<Timer> scheduledTimer(double interval, bool repeats,
                                                        TimerTick tick) override;

    [[nodiscard]] std::shared_ptr<DescriptorWatch> watch(int descriptor, std::uint32_t events,
                                                         std::function<void(std::uint32_t)> ready);

    /// A deadline that is not armed yet.
    [[nodiscard]] std::shared_ptr<Deadline> deadline(std::function<void()> due);

    /// A deferral that is not scheduled yet.
    [[nodiscard]] std::shared_ptr<Deferral> deferral(std::function<void()> run);

    /// Runs `body` and keeps what it throws, to be thrown again by `run()` or `dispatch()` once the
    /// C frames below are left. Every callback that a C library makes into ours goes through here.
    template <class Body> void guarded(Body&& body) noexcept {
        try {
            std::forward<Body>(body)();
        } catch (...) {
            failures_.push_back(std::current_exception());
            touch();
        }
    }

    /// Tells the loop that something it waits for has changed. Needed after a call into a C library
    /// that registers with `native()` by itself.
    void touch() noexcept;

    [[nodiscard]] sd_event* native() const { return event_; }

    /// What the sources of this loop have in common, such as the bus connection: one `Common`,
    /// made by `Common::make(loop)` on first use and kept for as long as somebody holds it.
    template <class Common> [[nodiscard]] std::shared_ptr<Common> shared() {
        std::weak_ptr<void>& kept = shared_[std::type_index(typeid(Common))];
        auto common = std::static_pointer_cast<Common>(kept.lock());
        if (!common) {
            common = Common::make(shared_from_this());
            kept = common;
        }
        return common;
    }

private:
    friend class Deadline;
    EventLoop();
    void release() noexcept;
    static int drainWake(sd_event_source*, int descriptor, std::uint32_t, void* self);
    static int clockRang(sd_event_source*, std::uint64_t, void* self);
    static int runDue(sd_event_source*, void* self);
    void setClock();
    [[nodiscard]] std::shared_ptr<EventLoop> enter();
    template <class Step> void turn(Step step);
    void throwFailure();

    void checkThread() const;

    const std::thread::id thread_ = std::this_thread::get_id();
    sd_event* event_ = nullptr;
    int wakeDescriptor_ = -1;
    sd_event_source* wakeSource_ = nullptr;
    sd_event_source* clockSource_ = nullptr;
    sd_event_source* dueSource_ = nullptr;
    Deadline::Armed deadlines_; ///< one clock wakes for all, once for those due together
    int callbacksLeft_ = 0;     ///< until the loop looks for other events, and the host has a turn
    bool turning_ = false;
    bool touched_ = false; ///< the wake descriptor is readable
    bool stopping_ = false;
    std::deque<std::exception_ptr> failures_;
    std::map<std::type_index, std::weak_ptr<void>> shared_;
};

} // namespace AmbrelKit::Linux

#endif
