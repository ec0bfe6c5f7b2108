#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIPOLLADAPTER_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIPOLLADAPTER_HPP

#include <avahi-common/watch.h>
#include <chrono>
#include <functional>

namespace AmbrelKit::Linux {

class AnswerSieve;
class EventLoop;

/// What servers of Avahi's embedded stack run on. It must outlive them.
struct AvahiGround {
    EventLoop& loop;
    AnswerSieve* sieve = nullptr; ///< before their sockets
    /// How late they may be with what they have to do now.
    std::function<std::chrono::milliseconds()> slack = [] { return std::chrono::milliseconds(8); };
};

/// What Avahi waits on, put on `ground`, which must outlive the result.
AvahiPoll avahiPollOn(AvahiGround& ground);

} // namespace AmbrelKit::Linux

#endif
