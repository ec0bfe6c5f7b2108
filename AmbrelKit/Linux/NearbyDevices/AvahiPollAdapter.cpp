#include "AmbrelKit/Linux/NearbyDevices/AvahiPollAdapter.hpp"

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <chrono>
#include <memory>
#include <sys/epoll.h>
#include <sys/time.h>

static_assert(int{AVAHI_WATCH_IN} == int{EPOLLIN} && int{AVAHI_WATCH_OUT} == int{EPOLLOUT} &&
                  int{AVAHI_WATCH_ERR} == int{EPOLLERR} && int{AVAHI_WATCH_HUP} == int{EPOLLHUP},
              "events are handed over as they are");

struct AvahiWatch {
    std::shared_ptr<AmbrelKit::Linux::DescriptorWatch> source;
    AvahiWatchEvent happened = {};
};

struct AvahiTimeout {
    std::shared_ptr<AmbrelKit::Linux::Deadline> source;
};

namespace AmbrelKit::Linux {

namespace {

/// Avahi's times are of the wall clock. Only the distance from now is taken, so a clock that is set
/// later does not move what is armed.
std::chrono::steady_clock::time_point steady(const timeval& time) {
    timeval now{};
    gettimeofday(&now, nullptr);
    const auto distance = std::chrono::seconds(time.tv_sec - now.tv_sec) +
                          std::chrono::microseconds(time.tv_usec - now.tv_usec);
    return std::chrono::steady_clock::now() + distance;
}

/// `body`'s result, or null: what it throws must not reach the C frames that asked.
template <class Body> auto contained(Body body) noexcept -> decltype(body()) {
    try {
        return body();
    } catch (...) {
        return decltype(body())();
    }
}

EventLoop& loopOf(const AvahiPoll* poll) { return *static_cast<EventLoop*>(poll->userdata); }

AvahiWatch* newWatch(const AvahiPoll* poll, int descriptor, AvahiWatchEvent events,
                     AvahiWatchCallback callback, void* userdata) {
    return contained([&] {
        auto watch = std::make_unique<AvahiWatch>();
        watch->source = loopOf(poll).watch(
            descriptor, events,
            [watch = watch.get(), descriptor, callback, userdata](std::uint32_t happened) {
                watch->happened = static_cast<AvahiWatchEvent>(happened);
                callback(watch, descriptor, watch->happened, userdata);
            });
        return watch.release();
    });
}

void updateWatch(AvahiWatch* watch, AvahiWatchEvent events) {
    contained([&] { watch->source->setEvents(events); });
}

AvahiWatchEvent eventsOf(AvahiWatch* watch) { return watch->happened; }

void freeWatch(AvahiWatch* watch) { delete watch; }

void updateTimeout(AvahiTimeout* timeout, const timeval* time) {
    contained(
        [&] { time != nullptr ? timeout->source->arm(steady(*time)) : timeout->source->disarm(); });
}

AvahiTimeout* newTimeout(const AvahiPoll* poll, const timeval* time, AvahiTimeoutCallback callback,
                         void* userdata) {
    return contained([&] {
        auto timeout = std::make_unique<AvahiTimeout>();
        timeout->source = loopOf(poll).deadline(
            [timeout = timeout.get(), callback, userdata] { callback(timeout, userdata); });
        updateTimeout(timeout.get(), time);
        return timeout.release();
    });
}

void freeTimeout(AvahiTimeout* timeout) { delete timeout; }

} // namespace

AvahiPoll avahiPollOn(EventLoop& loop) {
    return {&loop,     newWatch,   updateWatch,   eventsOf,
            freeWatch, newTimeout, updateTimeout, freeTimeout};
}

} // namespace AmbrelKit::Linux
