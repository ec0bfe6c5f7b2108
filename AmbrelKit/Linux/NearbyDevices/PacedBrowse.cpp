#include "AmbrelKit/Linux/NearbyDevices/PacedBrowse.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <avahi-common/address.h>
#include <iterator>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

using namespace std::chrono_literals;

/// Somewhat less than a second: so it joins the tick that began with the collection.
constexpr std::chrono::milliseconds ipv4First{970};
constexpr std::chrono::milliseconds slack{50};

/// Avahi asks again after a second.
constexpr std::chrono::milliseconds beforeItAsksAgain{950};
constexpr std::chrono::milliseconds afterItAskedAgain{1100};

/// And after three, and after seven. It goes on with the pauses of a question that nobody asks any
/// more until it would have been asked the next time. A responder that has just answered, in vain,
/// need not do so again within a second: so it is asked a little later.
constexpr std::chrono::milliseconds beforePauses[]{900ms, 2900ms, 6900ms};
constexpr std::chrono::milliseconds untilForgotten{350};

/// That is a collection long.
constexpr int mostTimesAnew = 8;

constexpr std::chrono::milliseconds firstRest{3000};
constexpr std::chrono::milliseconds longestRest = std::chrono::hours(1);

} // namespace

PacedBrowse::PacedBrowse(EventLoop& loop, QuestionPace& pace, LostAnswers& lost,
                         const AnswerSieve& sieve, Ask ask, Sighted sighted)
    : loop_(loop), pace_(pace), lost_(lost), sieve_(sieve), ask_(std::move(ask)),
      sighted_(std::move(sighted)), ipv4_{.protocol = AVAHI_PROTO_INET},
      ipv6_{.protocol = AVAHI_PROTO_INET6}, rest_(firstRest) {}

std::shared_ptr<PacedBrowse> PacedBrowse::start(EventLoop& loop, QuestionPace& pace,
                                                LostAnswers& lost, const AnswerSieve& sieve,
                                                Ask ask, Sighted sighted) {
    std::shared_ptr<PacedBrowse> browse(
        new PacedBrowse(loop, pace, lost, sieve, std::move(ask), std::move(sighted)));
    browse->timer_ = loop.deadline(weakly(browse, [](PacedBrowse& self) { (self.*self.next_)(); }));
    pace.add(weakly(browse, &PacedBrowse::askByIPv4));
    return browse;
}

void PacedBrowse::later(std::chrono::milliseconds time, void (PacedBrowse::*what)()) {
    next_ = what;
    timer_->arm(std::chrono::steady_clock::now() + time, slack);
}

void PacedBrowse::askBy(Part& part) {
    part.asked = Clock::now();
    part.toldBefore = std::exchange(part.told, 0);
    part.lookup =
        ask_(part.protocol, weakly(weak_from_this(), [&part](PacedBrowse& self, const auto& told) {
                 self.sighted(part, told);
             }));
}

/// A lookup that is not the first tells anew what the one before has told.
void PacedBrowse::sighted(Part& part, const Sighting& sighting) {
    part.told += sighting.present ? 1 : -1;
    const bool isNew = part.told > part.toldBefore;
    if (isNew && (part.timesAnew > 0 || Clock::now() - part.asked > afterItAskedAgain)) {
        lost_.oneCameLate();
    }
    sighted_(sighting);
}

void PacedBrowse::askAnew() {
    for (Part* const part : {&ipv4_, &ipv6_}) {
        const auto* const pause =
            std::ranges::upper_bound(beforePauses, Clock::now() - part->asked);
        if (part->lookup && !part->anew && part->timesAnew < mostTimesAnew &&
            pause != std::end(beforePauses)) {
            part->anew = loop_.deadline(
                weakly(weak_from_this(), [part](PacedBrowse& self) { self.askAnew(*part); }));
            part->anew->arm(part->asked + *pause);
        }
    }
}

void PacedBrowse::askAnew(Part& part) {
    const bool isEnough = part.timesAnew == mostTimesAnew;
    if (!part.lookup && !isEnough) {
        ++part.timesAnew;
        askBy(part);
        part.anew->arm(part.asked + beforePauses[0]);
    } else if (!isEnough && lost_.lately()) {
        part.lookup.reset();
        part.anew->arm(Clock::now() + untilForgotten);
    } else {
        part.anew.reset();
    }
}

void PacedBrowse::askByIPv4() {
    askBy(ipv4_);
    later(ipv4First, &PacedBrowse::queueIPv6);
}

void PacedBrowse::queueIPv6() { pace_.add(weakly(weak_from_this(), &PacedBrowse::askByIPv6)); }

void PacedBrowse::askByIPv6() {
    repeatsBefore_ = sieve_.repeatsByIPv6();
    askBy(ipv6_);
    later(beforeItAsksAgain, &PacedBrowse::review);
}

void PacedBrowse::review() {
    if (ipv6_.told == 0 && sieve_.repeatsByIPv6() != repeatsBefore_) {
        ipv6_.lookup.reset();
        ipv6_.anew.reset();
        later(rest_, &PacedBrowse::queueIPv6);
        rest_ = std::min(2 * rest_, longestRest);
    }
}

} // namespace AmbrelKit::Linux
