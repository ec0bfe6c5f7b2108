#include "AmbrelKit/Linux/NearbyDevices/AvahiPollAdapter.hpp"

#include "AmbrelKit/Linux/NearbyDevices/AnswerSieve.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <chrono>
#include <memory>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/time.h>

static_assert(int{AVAHI_WATCH_IN} == int{EPOLLIN} && int{AVAHI_WATCH_OUT} == int{EPOLLOUT} &&
                  int{AVAHI_WATCH_ERR} == int{EPOLLERR} && int{AVAHI_WATCH_HUP} == int{EPOLLHUP},
              "events are handed over as they are");

struct AvahiWatch {
    std::shared_ptr<AvahiWatch> self; ///< until it is freed, as it may be inside its callback
    std::shared_ptr<AmbrelKit::Linux::DescriptorWatch> source;
    AvahiWatchEvent happened = {};
};

struct AvahiTimeout {
    AmbrelKit::Linux::AvahiGround& ground;
    std::shared_ptr<AmbrelKit::Linux::Deadline> source;
};

namespace AmbrelKit::Linux {

namespace {

/// So many datagrams are handled in one turn of the loop: each turn costs more than most of them.
constexpr int mostInOneTurn = 32;

/// What Avahi asks a socket to hold. The answers to one question come at once, a datagram from each
/// responder; the system's limit for ordinary users, often less, holds.
constexpr int receiveBuffer = 4 << 20;

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

void updateTimeout(AvahiTimeout* timeout, const timeval* time) {
    contained([&] {
        time != nullptr ? timeout->source->arm(steady(*time), timeout->ground.slack())
                        : timeout->source->disarm();
    });
}

AvahiTimeout* newTimeout(const AvahiPoll* poll, const timeval* time, AvahiTimeoutCallback callback,
                         void* userdata) {
    return contained([&] {
        std::unique_ptr<AvahiTimeout> timeout(new AvahiTimeout{groundOf(poll), nullptr});
        timeout->source = groundOf(poll).loop.deadline(
            [timeout = timeout.get(), callback, userdata] { callback(timeout, userdata); });
        updateTimeout(timeout.get(), time);
        return timeout.release();
    });
}

void freeTimeout(AvahiTimeout* timeout) { delete timeout; }

} // namespace

AvahiPoll avahiPollOn(AvahiGround& ground) {
    return {&ground,   newWatch,   updateWatch,   eventsOf,
            freeWatch, newTimeout, updateTimeout, freeTimeout};
}

} // namespace AmbrelKit::Linux
