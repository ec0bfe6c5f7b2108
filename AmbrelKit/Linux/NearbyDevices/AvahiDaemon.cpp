#include "AmbrelKit/Linux/NearbyDevices/AvahiDaemon.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Linux/NearbyDevices/AvahiAnswers.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <string_view>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// Both the daemon (1,024 objects a client) and the bus (128 unanswered calls) refuse more at some
/// point.
constexpr int mostUnderWay = 100;
constexpr int mostPreparedAtOnce = 25;

// A collection's tick comes as often: by their slack the beats join it.
constexpr std::chrono::milliseconds pulseSlack{200};
constexpr auto leastPulseInterval = std::chrono::seconds(1) - pulseSlack;

// Avahi's numbers, the same in its protocol as in its headers.
constexpr std::int32_t anyInterface = -1;
constexpr std::int32_t anyProtocol = -1;
constexpr std::uint32_t lookupWithoutTXT = 4;
constexpr std::uint32_t lookupWithoutAddress = 8;

constexpr const char* serverInterface = "org.freedesktop.Avahi.Server";
constexpr const char* server2Interface = "org.freedesktop.Avahi.Server2";
constexpr const char* browserInterface = "org.freedesktop.Avahi.ServiceBrowser";

/// Whether the daemon refuses us altogether. A type that it refuses is only that, and a daemon that
/// is gone is the name watch's to tell.
bool isRefusal(const sd_bus_error& error) {
    return !std::string_view(error.name).starts_with("org.freedesktop.Avahi.Invalid") &&
           sd_bus_error_has_names(&error, SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_SERVICE_UNKNOWN,
                                  SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_DISCONNECTED) == 0;
}

} // namespace

/// A ServiceBrowser object of the daemon.
class AvahiDaemon::Browse final : public Lookup, public std::enable_shared_from_this<Browse> {
public:
    Browse(std::shared_ptr<AvahiDaemon> daemon, std::string type, std::string domain,
           Sighted sighted)
        : type(std::move(type)), domain(std::move(domain)), sighted_(std::move(sighted)),
          daemon_(std::move(daemon)), counted_(daemon_->cache_, this->type) {}
    ~Browse() override {
        if (!path_.empty()) {
            daemon_->browses_.erase(path_);
            daemon_->daemon_.send({path_, browserInterface, "Free"}, {});
        }
    }
    Browse(const Browse&) = delete;
    Browse& operator=(const Browse&) = delete;

    void start(const std::string& path) {
        path_ = path;
        daemon_->browses_[path_] = weak_from_this();
        daemon_->daemon_.send({path_, browserInterface, "Start"}, {});
    }

    void tell(const Sighting& sighting) {
        const bool isCrowded = type != metaType && counted_.count(sighting);
        sighted_(sighting);
        if (isCrowded) {
            daemon_->stand(Standing::crowded);
        }
    }

    std::string type;
    std::string domain;

private:
    Sighted sighted_;
    std::shared_ptr<AvahiDaemon> daemon_;
    std::string path_;
    AvahiCache::Browser counted_;
};

/// A call that the daemon answers when the network has.
class AvahiDaemon::Question final : public Lookup {
public:
    Question(std::shared_ptr<AvahiDaemon> daemon, const char* member, BusArguments arguments,
             BusReceiver answered)
        : member(member), arguments(std::move(arguments)), answered(std::move(answered)),
          daemon_(std::move(daemon)) {}

    const char* member;
    BusArguments arguments;
    BusReceiver answered;

private:
    std::shared_ptr<AvahiDaemon> daemon_;
};

AvahiDaemon::AvahiDaemon(const std::shared_ptr<SystemBus>& bus, std::string owner,
                         std::function<void(Standing)> changed)
    : daemon_(bus, std::move(owner)), changed_(std::move(changed)) {}

std::shared_ptr<AvahiDaemon> AvahiDaemon::start(const std::shared_ptr<EventLoop>& loop,
                                                const std::shared_ptr<SystemBus>& bus,
                                                std::string owner,
                                                std::function<void(Standing)> changed) {
    std::shared_ptr<AvahiDaemon> daemon(new AvahiDaemon(bus, std::move(owner), std::move(changed)));
    daemon->daemon_.hear("interface='" + std::string(browserInterface) + "'",
                         weakly(daemon, &AvahiDaemon::itemSignal));
    daemon->pulse_ = loop->deadline(weakly(daemon, &AvahiDaemon::pulse));
    daemon->pulse_->arm(std::chrono::steady_clock::now() + leastPulseInterval, pulseSlack);
    return daemon;
}

/// Asks what a daemon that works answers whatever the network does. It is answered also when this
/// is gone.
void AvahiDaemon::askByItself(const Daemon::Method& method, const BusArguments& arguments,
                              BusReceiver replied) {
    const auto answered = [weak = weak_from_this(),
                           replied = std::move(replied)](sd_bus_message* reply) {
        const auto self = weak.lock();
        if (self) {
            --self->unanswered_;
            self->answersSince_ = true;
        }
        replied(reply);
        if (self && !isError(reply)) {
            self->stand(Standing::serving);
        }
    };
    if (daemon_.send(method, arguments, answered)) {
        ++unanswered_;
    }
}

/// A daemon that is stopped keeps its name, and its silence is that of a quiet network. Beats are
/// counted instead of time, so that it is not blamed for a host that was busy itself.
void AvahiDaemon::pulse() {
    pulse_->arm(std::chrono::steady_clock::now() + leastPulseInterval, pulseSlack);
    const bool answers = std::exchange(answersSince_, false);
    if (unanswered_ == 0) {
        askByItself({"/", serverInterface, "GetState"}, {}, [](sd_bus_message*) {});
    } else if (!answers) {
        stand(standing_ == Standing::overdue || standing_ == Standing::silent ? Standing::silent
                                                                              : Standing::overdue);
    }
}

void AvahiDaemon::stand(Standing standing) {
    const bool isNews = standing_ != Standing::crowded || standing != Standing::serving;
    if (standing_ != standing && standing_ != Standing::refusing && isNews) {
        standing_ = standing;
        changed_(standing);
    }
}

std::shared_ptr<Lookup> AvahiDaemon::browse(const std::string& type, const std::string& domain,
                                            Sighted sighted) {
    auto browse = std::make_shared<Browse>(shared_from_this(), type, domain, std::move(sighted));
    unprepared_.push_back(browse);
    prepareWaiting();
    return browse;
}

void AvahiDaemon::prepareWaiting() {
    while (unanswered_ < mostPreparedAtOnce && !unprepared_.empty()) {
        const auto browse = unprepared_.front().lock();
        unprepared_.pop_front();
        if (browse) {
            prepare(browse);
        }
    }
}

/// Prepared first and started once the answer has told its path, a browser reports nothing before
/// it is known here. An answer that nobody waits for any more still has to be freed.
void AvahiDaemon::prepare(const std::shared_ptr<Browse>& browse) {
    const auto arguments = [&](sd_bus_message* call) {
        return sd_bus_message_append(call, "iissu", anyInterface, anyProtocol, browse->type.c_str(),
                                     browse->domain.c_str(), 0U);
    };
    const auto prepared = [asker = std::weak_ptr(browse), bus = std::weak_ptr(daemon_.bus()),
                           daemon = weak_from_this(),
                           owner = daemon_.name()](sd_bus_message* reply) {
        const auto self = daemon.lock();
        const char* path = nullptr;
        if (isError(reply)) {
            if (self && isRefusal(*sd_bus_message_get_error(reply))) {
                self->stand(Standing::refusing);
                return;
            }
        } else if (sd_bus_message_read(reply, "o", &path) > 0) {
            if (const auto browse = asker.lock()) {
                browse->start(path);
            } else if (const auto connection = bus.lock()) {
                connection->send({owner, path, browserInterface, "Free"}, {});
            }
        } else if (self) { // what answers so is no Avahi
            self->stand(Standing::refusing);
            return;
        }
        if (self) {
            self->prepareWaiting();
        }
    };
    askByItself({"/", server2Interface, "ServiceBrowserPrepare"}, arguments, prepared);
}

void AvahiDaemon::itemSignal(sd_bus_message* signal) {
    const bool came = sd_bus_message_is_signal(signal, browserInterface, "ItemNew") > 0;
    const bool went = sd_bus_message_is_signal(signal, browserInterface, "ItemRemove") > 0;
    const auto found = browses_.find(sd_bus_message_get_path(signal));
    if ((!came && !went) || found == browses_.end()) {
        return;
    }
    std::int32_t interface = 0;
    std::int32_t protocol = 0;
    const char* name = nullptr;
    const char* type = nullptr;
    const char* domain = nullptr;
    const auto browse = found->second.lock();
    if (browse &&
        sd_bus_message_read(signal, "iisss", &interface, &protocol, &name, &type, &domain) > 0) {
        browse->tell({{name, type, domain}, interface, protocol, came});
    }
}

std::shared_ptr<Lookup> AvahiDaemon::resolve(const ServiceName& service, int interface,
                                             bool withTXT, Served served) {
    const std::uint32_t flags = lookupWithoutAddress | (withTXT ? 0 : lookupWithoutTXT);
    return ask(
        "ResolveService",
        [service, interface, flags](sd_bus_message* call) {
            return sd_bus_message_append(call, "iisssiu", interface, anyProtocol,
                                         service.name.c_str(), service.type.c_str(),
                                         service.domain.c_str(), anyProtocol, flags);
        },
        [served = std::move(served), withTXT](sd_bus_message* reply) {
            served(readService(reply, withTXT));
        });
}

std::shared_ptr<Lookup> AvahiDaemon::findAddress(const std::string& host, int interface, int family,
                                                 Addressed addressed) {
    const std::int32_t wanted = family == AF_INET ? 0 : 1;
    return ask(
        "ResolveHostName",
        [host, interface, wanted](sd_bus_message* call) {
            return sd_bus_message_append(call, "iisiu", interface, anyProtocol, host.c_str(),
                                         wanted, 0U);
        },
        [addressed = std::move(addressed)](sd_bus_message* reply) {
            addressed(readAddress(reply));
        });
}

std::shared_ptr<Lookup> AvahiDaemon::ask(const char* member, BusArguments arguments,
                                         BusReceiver answered) {
    auto question = std::make_shared<Question>(shared_from_this(), member, std::move(arguments),
                                               std::move(answered));
    waiting_.push_back(question);
    sendWaiting();
    return question;
}

/// A question that is dropped keeps its place until the daemon has answered: there it goes on.
void AvahiDaemon::sendWaiting() {
    while (underWay_ < mostUnderWay && !waiting_.empty()) {
        const auto question = waiting_.front().lock();
        waiting_.pop_front();
        if (!question) {
            continue;
        }
        const auto answered = [this, asker = std::weak_ptr(question)](sd_bus_message* reply) {
            --underWay_;
            sendWaiting();
            if (const auto question = asker.lock()) {
                question->answered(reply);
            }
        };
        if (daemon_.ask({"/", serverInterface, question->member}, question->arguments, answered)) {
            ++underWay_;
        }
    }
}

} // namespace AmbrelKit::Linux
