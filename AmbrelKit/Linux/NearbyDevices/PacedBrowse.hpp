#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_PACEDBROWSE_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_PACEDBROWSE_HPP

#include "AmbrelKit/Linux/NearbyDevices/AnswerSieve.hpp"
#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"
#include "AmbrelKit/Linux/NearbyDevices/QuestionPace.hpp"

namespace AmbrelKit::Linux {

/// A search for the services of a type, by IPv4 first and by IPv6 a second later: most neighbours
/// speak both, and have answered by then. Where all that comes by IPv6 is that again, the stack,
/// which has not heard it there, would ask for it on and on; so it is asked rarely.
class PacedBrowse final : public Lookup, public std::enable_shared_from_this<PacedBrowse> {
public:
    using Sighted = DiscoveryStack::Sighted;

    /// Begins to ask by one protocol, AVAHI_PROTO_INET or AVAHI_PROTO_INET6.
    using Ask = std::function<std::shared_ptr<Lookup>(int protocol, Sighted sighted)>;

    /// `pace` and `sieve` are the stack's, which `ask` holds.
    [[nodiscard]] static std::shared_ptr<PacedBrowse>
    start(EventLoop& loop, QuestionPace& pace, const AnswerSieve& sieve, Ask ask, Sighted sighted);

private:
    PacedBrowse(QuestionPace& pace, const AnswerSieve& sieve, Ask ask, Sighted sighted);
    void askByIPv4();
    void queueIPv6();
    void askByIPv6();
    void review();
    void later(std::chrono::milliseconds time, void (PacedBrowse::*what)());

    QuestionPace& pace_;
    const AnswerSieve& sieve_;
    Ask ask_;
    Sighted sighted_;
    std::shared_ptr<Lookup> ipv4_;
    std::shared_ptr<Lookup> ipv6_;
    std::size_t repeatsBefore_ = 0;
    bool broughtByIPv6_ = false;
    std::chrono::milliseconds rest_;
    void (PacedBrowse::*next_)() = nullptr;
    std::shared_ptr<Deadline> timer_;
};

} // namespace AmbrelKit::Linux

#endif
