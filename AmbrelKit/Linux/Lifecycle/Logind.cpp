#include "AmbrelKit/Linux/Lifecycle/Logind.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/NotificationCenter.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* logindPath = "/org/freedesktop/login1";
constexpr const char* logindInterface = "org.freedesktop.login1.Manager";

/// The machine shows its session again within this time after the resume is told of.
constexpr std::chrono::seconds partOfResume{5};

bool refusesDelay(sd_bus_message* reply) {
    return isError(reply, SD_BUS_ERROR_ACCESS_DENIED) ||
           isError(reply, SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED);
}

} // namespace

SleepDelay::SleepDelay(std::shared_ptr<Logind> logind, const std::string& why,
                       std::function<void()> timeIsUp)
    : logind_(std::move(logind)), why_("Work in the background: " + repairedUTF8(why)),
      timeIsUp_(std::move(timeIsUp)) {}

SleepDelay::~SleepDelay() {
    if (std::exchange(question_, nullptr)) {
        logind_->publish(); // nobody waits for the answer any more
    }
}

void SleepDelay::request() {
    if (expired_ || !logind_->daemon_) {
        return;
    }
    const auto arguments = [this](sd_bus_message* call) {
        return sd_bus_message_append(call, "ssss", "sleep",
                                     repairedUTF8(program_invocation_short_name).c_str(),
                                     why_.c_str(), "delay");
    };
    question_ = logind_->daemon_->call({logindPath, logindInterface, "Inhibit"}, arguments,
                                       weakly(weak_from_this(), &SleepDelay::replied));
}

void SleepDelay::replied(sd_bus_message* reply) {
    question_.reset();
    logind_->refusesDelays_ = refusesDelay(reply);
    logind_->publish();
    int borrowed = -1; // dies with the message
    if (sd_bus_message_read(reply, "h", &borrowed) > 0) {
        inhibitor_ = Descriptor(fcntl(borrowed, F_DUPFD_CLOEXEC, 3));
    }
}

void SleepDelay::expire() {
    expired_ = true;
    if (const auto timeIsUp = std::exchange(timeIsUp_, {})) {
        logind_->loop_->guarded(timeIsUp);
    }
    question_.reset();
    inhibitor_ = Descriptor();
}

std::shared_ptr<Logind> Logind::make(const std::shared_ptr<EventLoop>& loop) {
    std::shared_ptr<Logind> logind(new Logind(loop));
    logind->resumed_ = loop->deadline(weakly(logind, &Logind::postActivation));
    logind->follow();
    return logind;
}

Logind::~Logind() { board_->publish(Source::lifecycle, {}); }

void Logind::follow() {
    bus_ = loop_->shared<SystemBus>();
    name_ = NameWatch::start(bus_, "org.freedesktop.login1",
                             weakly(weak_from_this(), &Logind::ownerChanged));
    publish();
}

std::shared_ptr<SleepDelay> Logind::delaySleep(const std::string& why,
                                               std::function<void()> timeIsUp) {
    if (!bus_) {
        follow();
    }
    std::shared_ptr<SleepDelay> delay(new SleepDelay(shared_from_this(), why, std::move(timeIsUp)));
    delays_.add(delay);
    delay->request();
    return delay;
}

void Logind::ownerChanged(const std::string& owner) {
    sleep_.reset();
    session_.reset();
    daemon_.reset();
    sessionName_.reset();
    refusesDelays_.reset();
    delays_.each([](SleepDelay& delay) { delay.question_.reset(); });
    if (owner.empty()) {
        publish();
        if (!bus_->wasConnected()) {
            name_.reset();
            bus_.reset();
        }
        return; // the inhibitors are kept: a logind that starts again knows them from before
    }
    daemon_ = std::make_unique<Daemon>(bus_, owner);
    daemon_->hear(std::string("path='") + logindPath + "',interface='" + logindInterface +
                      "',member='PrepareForSleep'",
                  weakly(weak_from_this(), &Logind::sleepAnnounced));
    session_ = std::make_unique<SessionWatch>(bus_, owner,
                                              weakly(weak_from_this(), &Logind::sessionChanged));
    delays_.each([](SleepDelay& delay) { delay.request(); });
    publish();
}

void Logind::sleepAnnounced(sd_bus_message* signal) {
    int sleeping = 0;
    if (sd_bus_message_read(signal, "b", &sleeping) <= 0) {
        return;
    }
    if (sleeping != 0) {
        fallAsleep();
    } else {
        resume();
    }
}

void Logind::fallAsleep() {
    resumed_->disarm();
    if (!sleep_) {
        sleep_ = std::make_unique<Sleep>(CollectionClock::shared());
    }
    delays_.each([](SleepDelay& delay) { delay.expire(); });
    publish();
}

void Logind::resume() {
    const auto slept = std::exchange(sleep_, nullptr);
    const auto& clock = CollectionClock::shared();
    delays_.each([](SleepDelay& delay) {
        if (!delay.isRequested()) { // logind grants none on the way to sleep
            delay.request();
        }
    });
    loop_->guarded([&] { clock.tick(); });
    toldAt_ = Clock::now();
    if (slept && slept->interrupted) {
        toldAt_ += std::max(CollectionClock::Boot(0),
                            *slept->interrupted + CollectionClock::pastReuse - clock.sinceBoot());
    }
    resumed_->arm(toldAt_);
}

void Logind::sessionChanged(const std::string& session, bool active) {
    sessionName_ = session.empty() ? "" : sessionName(session);
    publish();
    const bool wasActive = std::exchange(isActive_, active).value_or(true);
    if (active && !wasActive && !sleep_ && Clock::now() > toldAt_ + partOfResume) {
        postActivation();
    }
}

/// One that begins a collection is counted in that.
void Logind::postActivation() {
    NotificationCenter::default_()->post(ApplicationDidBecomeActiveNotification);
    board_->count(Source::lifecycle);
}

void Logind::publish() { board_->publish(Source::lifecycle, condition()); }

SourceCondition Logind::condition() const {
    using enum SourceReason;
    if (!daemon_) {
        return name_->absence(noLogind);
    }
    const bool isAsked = !refusesDelays_ && delays_.any([](const SleepDelay& delay) {
        return delay.question_ != nullptr;
    });
    if (!sessionName_ || isAsked) {
        return starting(daemonSilent, {"systemd-logind"});
    }
    auto means = sessionName_->empty() ? "logind" : "logind, session " + *sessionName_;
    if (refusesDelays_ == true) {
        return listening(std::move(means), inhibitorRefused);
    }
    return sessionName_->empty() ? listening(std::move(means), noSession)
                                 : listening(std::move(means));
}

} // namespace AmbrelKit::Linux
