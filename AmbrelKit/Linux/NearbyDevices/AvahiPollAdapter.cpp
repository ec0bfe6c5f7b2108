#include "AmbrelKit/Linux/NearbyDevices/AvahiPollAdapter.hpp"

#include "AmbrelKit/Linux/NearbyDevices/AnswerSieve.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/time.h>

static_assert(int{AVAHI_WATCH_IN} == int{EPOLLIN} && int{AVAHI_WATCH_OUT} == int{EPOLLOUT} &&
                  int{AVAHI_WATCH_ERR} == int{EPOLLERR} && int{AVAHI_WATCH_HUP} == int{EPOLLHUP},
              "events are handed over as they are");

// Avahi may free either inside its callback: what calls back holds it until it has returned.

struct AvahiWatch {
    std::shared_ptr<AvahiWatch> self; ///< until it is freed
    std::shared_ptr<AmbrelKit::Linux::DescriptorWatch> source;
    AvahiWatchEvent happened = {};
};

struct AvahiTimeout {
    std::shared_ptr<AvahiTimeout> self; ///< until it is freed
    std::shared_ptr<AmbrelKit::Linux::Deadline> source;
    std::optional<timeval> wanted;
    std::optional<std::chrono::steady_clock::time_point> armed;
    bool running = false;
};

namespace AmbrelKit::Linux {

namespace {

using std::chrono::steady_clock;

/// So many of what is ready are handled in one turn of the loop: each turn costs more than most of
/// them.
constexpr int mostInOneTurn = 32;

/// What is due at nearly the same time is done at the same time.
constexpr std::chrono::milliseconds grid{8};

/// What Avahi asks a socket to hold. The answers to one question come at once, a datagram from each
/// responder; the system's limit for ordinary users, often less, holds.
constexpr int receiveBuffer = 4 << 20;

/// Avahi's times are of the wall clock. Only the distance from now is taken, so a clock that is set
/// later does not move what is armed.
steady_clock::time_point steady(const timeval& time) {
    timeval now{};
    gettimeofday(&now, nullptr);
    const auto distance = std::chrono::seconds(time.tv_sec - now.tv_sec) +
                          std::chrono::microseconds(time.tv_usec - now.tv_usec);
    return steady_clock::now() + distance;
}

bool isPast(const timeval& time) {
    timeval now{};
    gettimeofday(&now, nullptr);
    return !timercmp(&now, &time, <);
}

steady_clock::time_point onGrid(steady_clock::time_point time) {
    const auto sinceBoot = std::chrono::ceil<std::chrono::milliseconds>(time.time_since_epoch());
    return steady_clock::time_point((sinceBoot + grid - std::chrono::milliseconds(1)) / grid *
                                    grid);
}

/// `body`'s result, or null: what it throws must not reach the C frames that asked.
template <class Body> auto contained(Body body) noexcept -> decltype(body()) {
    try {
        return body();
    } catch (...) {
        return decltype(body())();
    }
}

AvahiGround& groundOf(const AvahiPoll* poll) { return *static_cast<AvahiGround*>(poll->userdata); }

bool isReadable(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, 0) > 0 && (entry.revents & POLLIN) != 0;
}

AvahiWatch* newWatch(const AvahiPoll* poll, int descriptor, AvahiWatchEvent events,
                     AvahiWatchCallback callback, void* userdata) {
    return contained([&] {
        setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        auto watch = std::make_shared<AvahiWatch>();
        watch->source = groundOf(poll).loop.watch(
            descriptor, events,
            [watch = watch.get(), sieve = groundOf(poll).sieve, descriptor, callback,
             userdata](std::uint32_t happened) {
                const auto keep = watch->self;
                watch->happened = static_cast<AvahiWatchEvent>(happened);
                int left = mostInOneTurn;
                do {
                    if (sieve == nullptr || sieve->admitsNext(descriptor)) {
                        callback(watch, descriptor, watch->happened, userdata);
                    }
                } while (watch->self && watch->happened == AVAHI_WATCH_IN && --left > 0 &&
                         isReadable(descriptor));
            });
        watch->self = watch;
        return watch.get();
    });
}

void updateWatch(AvahiWatch* watch, AvahiWatchEvent events) {
    contained([&] { watch->source->setEvents(events); });
}

AvahiWatchEvent eventsOf(AvahiWatch* watch) { return watch->happened; }

void freeWatch(AvahiWatch* watch) {
    watch->source.reset();
    const auto last = std::move(watch->self);
}

/// Arms the timer for what is wanted, if that is another time than before.
void rearm(AvahiTimeout& timeout) {
    if (!timeout.wanted) {
        timeout.armed.reset();
        timeout.source->disarm();
        return;
    }
    const auto due = onGrid(steady(*timeout.wanted));
    if (due != timeout.armed) {
        timeout.armed = due;
        timeout.source->arm(due);
    }
}

void updateTimeout(AvahiTimeout* timeout, const timeval* time) {
    contained([&] {
        const bool same = time == nullptr
                              ? !timeout->wanted
                              : timeout->wanted && timercmp(time, &*timeout->wanted, ==);
        timeout->wanted = time == nullptr ? std::nullopt : std::optional(*time);
        if (!same && !timeout->running) {
            rearm(*timeout);
        }
    });
}

/// Avahi has one timeout for all that it waits for, and does the earliest thing each time.
void run(AvahiTimeout& timeout, AvahiTimeoutCallback callback, void* userdata) {
    const auto keep = timeout.self;
    timeout.running = true;
    int left = mostInOneTurn;
    do {
        timeout.wanted.reset();
        callback(&timeout, userdata);
    } while (timeout.self && timeout.wanted && --left > 0 && isPast(*timeout.wanted));
    timeout.running = false;
    timeout.armed.reset();
    if (timeout.self) {
        rearm(timeout);
    }
}

AvahiTimeout* newTimeout(const AvahiPoll* poll, const timeval* time, AvahiTimeoutCallback callback,
                         void* userdata) {
    return contained([&] {
        auto timeout = std::make_shared<AvahiTimeout>();
        timeout->source = groundOf(poll).loop.deadline(
            [timeout = timeout.get(), callback, userdata] { run(*timeout, callback, userdata); });
        updateTimeout(timeout.get(), time);
        timeout->self = timeout;
        return timeout.get();
    });
}

void freeTimeout(AvahiTimeout* timeout) {
    timeout->source.reset();
    const auto last = std::move(timeout->self);
}

} // namespace

AvahiPoll avahiPollOn(AvahiGround& ground) {
    return {&ground,   newWatch,   updateWatch,   eventsOf,
            freeWatch, newTimeout, updateTimeout, freeTimeout};
}

} // namespace AmbrelKit::Linux
