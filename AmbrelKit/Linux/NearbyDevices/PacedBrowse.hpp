#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_PACEDBROWSE_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_PACEDBROWSE_HPP

#include "AmbrelKit/Linux/NearbyDevices/AnswerSieve.hpp"
#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"
#include "AmbrelKit/Linux/NearbyDevices/LostAnswers.hpp"
#include "AmbrelKit/Linux/NearbyDevices/QuestionPace.hpp"

namespace AmbrelKit::Linux {

/// A search for the services of a type, by IPv4 first and by IPv6 a second later: most neighbours
/// speak both, and have answered by then. Where all that comes by IPv6 is that again, the stack,
/// which has not heard it there, would ask for it on and on; so it is asked rarely.
class PacedBrowse final : public Lookup,
                          public LostAnswers::Question,
                          public std::enable_shared_from_this<PacedBrowse> {
public:
    using Sighted = DiscoveryStack::Sighted;

    /// Begins to ask by one protocol, AVAHI_PROTO_INET or AVAHI_PROTO_INET6.
    using Ask = std::function<std::shared_ptr<Lookup>(int protocol, Sighted sighted)>;

    /// `loop`, `pace`, `lost` and `sieve` are the stack's, which `ask` holds.
    [[nodiscard]] static std::shared_ptr<PacedBrowse> start(EventLoop& loop, QuestionPace& pace,
                                                            LostAnswers& lost,
                                                            const AnswerSieve& sieve, Ask ask,
                                                            Sighted sighted);

    void askAnew() override;

private:
    using Clock = std::chrono::steady_clock;

    /// What is asked by one protocol.
    struct Part {
        int protocol;
        std::shared_ptr<Lookup> lookup = {};
        Clock::time_point asked = {};
        std::size_t told = 0;       ///< by the lookup
        std::size_t toldBefore = 0; ///< by the one before
        int timesAnew = 0;
        std::shared_ptr<Deadline> anew = {}; ///< while it is about to be asked anew
    };

    PacedBrowse(EventLoop& loop, QuestionPace& pace, LostAnswers& lost, const AnswerSieve& sieve,
                Ask ask, Sighted sighted);
    void askBy(Part& part);
    void askAnew(Part& part);
    void sighted(Part& part, const Sighting& sighting);
    void askByIPv4();
    void queueIPv6();
    void askByIPv6();
    void review();
    void later(std::chrono::milliseconds time, void (PacedBrowse::*what)());

    EventLoop& loop_;
    QuestionPace& pace_;
    LostAnswers& lost_;
    const AnswerSieve& sieve_;
    Ask ask_;
    Sighted sighted_;
    Part ipv4_;
    Part ipv6_;
    std::size_t repeatsBefore_ = 0;
    std::chrono::milliseconds rest_;
    void (PacedBrowse::*next_)() = nullptr;
    std::shared_ptr<Deadline> timer_;
};

} // namespace AmbrelKit::Linux

#endif
