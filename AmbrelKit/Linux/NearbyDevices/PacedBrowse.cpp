#include "AmbrelKit/Linux/NearbyDevices/PacedBrowse.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <avahi-common/address.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr std::chrono::milliseconds ipv4First{1000};

/// Avahi asks again after a second.
constexpr std::chrono::milliseconds beforeItAsksAgain{950};

constexpr std::chrono::milliseconds firstRest{3000};
constexpr std::chrono::milliseconds longestRest = std::chrono::hours(1);

} // namespace

PacedBrowse::PacedBrowse(QuestionPace& pace, const AnswerSieve& sieve, Ask ask, Sighted sighted)
    : pace_(pace), sieve_(sieve), ask_(std::move(ask)), sighted_(std::move(sighted)),
      rest_(firstRest) {}

std::shared_ptr<PacedBrowse> PacedBrowse::start(EventLoop& loop, QuestionPace& pace,
                                                const AnswerSieve& sieve, Ask ask,
                                                Sighted sighted) {
    std::shared_ptr<PacedBrowse> browse(
        new PacedBrowse(pace, sieve, std::move(ask), std::move(sighted)));
    browse->timer_ = loop.deadline(weakly(browse, [](PacedBrowse& self) { (self.*self.next_)(); }));
    pace.add(weakly(browse, &PacedBrowse::askByIPv4));
    return browse;
}

void PacedBrowse::later(std::chrono::milliseconds time, void (PacedBrowse::*what)()) {
    next_ = what;
    timer_->arm(std::chrono::steady_clock::now() + time);
}

void PacedBrowse::askByIPv4() {
    ipv4_ = ask_(AVAHI_PROTO_INET, sighted_);
    later(ipv4First, &PacedBrowse::queueIPv6);
}

void PacedBrowse::queueIPv6() { pace_.add(weakly(weak_from_this(), &PacedBrowse::askByIPv6)); }

void PacedBrowse::askByIPv6() {
    repeatsBefore_ = sieve_.repeatsByIPv6();
    ipv6_ = ask_(AVAHI_PROTO_INET6,
                 [weak = weak_from_this(), sighted = sighted_](const Sighting& sighting) {
                     if (const auto self = weak.lock()) {
                         self->broughtByIPv6_ = true;
                     }
                     sighted(sighting);
                 });
    later(beforeItAsksAgain, &PacedBrowse::review);
}

void PacedBrowse::review() {
    if (!broughtByIPv6_ && sieve_.repeatsByIPv6() != repeatsBefore_) {
        ipv6_.reset();
        later(rest_, &PacedBrowse::queueIPv6);
        rest_ = std::min(2 * rest_, longestRest);
    }
}

} // namespace AmbrelKit::Linux
