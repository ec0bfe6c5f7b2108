#include "AmbrelKit/Linux/Lifecycle/Logind.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/NotificationCenter.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr const char* logindName = "org.freedesktop.login1";
constexpr const char* logindPath = "/org/freedesktop/login1";
constexpr const char* logindInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";

BusMethod logindMethod(const std::string& owner, const char* member) {
    return {owner, logindPath, logindInterface, member};
}

/// Whether the body of PropertiesChanged says that a session is active from now on.
bool saysActive(sd_bus_message* signal) {
    const char* interface = nullptr;
    int active = 0;
    if (sd_bus_message_read(signal, "s", &interface) > 0) {
        readProperties(signal, [&](std::string_view name, std::string_view type) {
            return name == "Active" && type == "b" &&
                   sd_bus_message_read(signal, "v", "b", &active) > 0;
        });
    }
    return active != 0;
}

} // namespace

SleepDelay::SleepDelay(std::shared_ptr<Logind> logind, const std::string& why,
                       std::function<void()> timeIsUp)
    : logind_(std::move(logind)), why_("Work in the background: " + repairedUTF8(why)),
      timeIsUp_(std::move(timeIsUp)) {}

void SleepDelay::request() {
    if (expired_ || logind_->owner_.empty()) {
        return;
    }
    const auto arguments = [this](sd_bus_message* call) {
        return sd_bus_message_append(call, "ssss", "sleep",
                                     repairedUTF8(program_invocation_short_name).c_str(),
                                     why_.c_str(), "delay");
    };
    question_ = logind_->bus_->call(logindMethod(logind_->owner_, "Inhibit"), arguments,
                                    [weak = weak_from_this()](sd_bus_message* reply) {
                                        if (const auto delay = weak.lock()) {
                                            delay->replied(reply);
                                        }
                                    });
}

void SleepDelay::replied(sd_bus_message* reply) {
    question_.reset();
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
    logind->follow();
    return logind;
}

void Logind::follow() {
    bus_ = loop_->shared<SystemBus>();
    name_ = NameWatch::start(bus_, logindName, [weak = weak_from_this()](const std::string& owner) {
        if (const auto logind = weak.lock()) {
            logind->ownerChanged(owner);
        }
    });
}

std::shared_ptr<SleepDelay> Logind::delaySleep(const std::string& why,
                                               std::function<void()> timeIsUp) {
    if (!bus_) {
        follow();
    }
    std::shared_ptr<SleepDelay> delay(new SleepDelay(shared_from_this(), why, std::move(timeIsUp)));
    std::erase_if(delays_, [](const auto& weak) { return weak.expired(); });
    delays_.push_back(delay);
    delay->request();
    return delay;
}

void Logind::ownerChanged(const std::string& owner) {
    owner_ = owner;
    sleep_.reset();
    sessionQuestion_.reset();
    session_.reset();
    if (!bus_->wasConnected()) {
        name_.reset();
        bus_.reset();
    }
    if (owner_.empty()) {
        return; // the inhibitors are kept: a logind that starts again knows them from before
    }
    sleep_ = bus_->match("type='signal',sender='" + owner_ + "',path='" + logindPath +
                             "',interface='" + logindInterface + "',member='PrepareForSleep'",
                         receiver(&Logind::sleepAnnounced));
    sessionQuestion_ = bus_->call(
        logindMethod(owner_, "GetSession"),
        [](sd_bus_message* call) { return sd_bus_message_append(call, "s", "auto"); },
        receiver(&Logind::sessionFound));
    eachDelay([](SleepDelay& delay) { delay.request(); });
}

void Logind::sleepAnnounced(sd_bus_message* signal) {
    int sleeping = 0;
    if (sd_bus_message_read(signal, "b", &sleeping) <= 0) {
        return;
    }
    if (sleeping != 0) {
        eachDelay([](SleepDelay& delay) { delay.expire(); });
        return;
    }
    eachDelay([](SleepDelay& delay) {
        if (!delay.isRequested()) { // logind grants none on the way to sleep
            delay.request();
        }
    });
    NotificationCenter::default_()->post(ApplicationDidBecomeActiveNotification);
}

void Logind::sessionFound(sd_bus_message* reply) {
    sessionQuestion_.reset();
    const char* path = nullptr;
    if (sd_bus_message_read(reply, "o", &path) <= 0) {
        return; // a service or a job has no session
    }
    session_ = bus_->match("type='signal',sender='" + owner_ + "',path='" + path +
                               "',interface='org.freedesktop.DBus.Properties',"
                               "member='PropertiesChanged',arg0='" +
                               sessionInterface + "'",
                           receiver(&Logind::sessionChanged));
}

void Logind::sessionChanged(sd_bus_message* signal) {
    if (saysActive(signal)) {
        NotificationCenter::default_()->post(ApplicationDidBecomeActiveNotification);
    }
}

BusReceiver Logind::receiver(void (Logind::*handler)(sd_bus_message*)) {
    return [weak = weak_from_this(), handler](sd_bus_message* message) {
        if (const auto logind = weak.lock()) {
            ((*logind).*handler)(message);
        }
    };
}

template <class Visit> void Logind::eachDelay(const Visit& visit) {
    const auto delays = delays_; // a handler may drop this one or another
    for (const auto& weak : delays) {
        if (const auto delay = weak.lock()) {
            visit(*delay);
        }
    }
}

} // namespace AmbrelKit::Linux
