#include "AmbrelKit/Linux/Location/GeoClue.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Linux/Location/DesktopId.hpp"
#include "AmbrelKit/Linux/Location/GeoClueFix.hpp"
#include "AmbrelKit/Linux/Location/GeoClueWatch.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr std::chrono::seconds timeToAnswer{3};
constexpr Retry::Delays geoClueDelays{std::chrono::milliseconds(500), std::chrono::seconds(8)};

constexpr const char* geoClueMeans = "GeoClue";
constexpr const char* managerPath = "/org/freedesktop/GeoClue2/Manager";
constexpr const char* managerInterface = "org.freedesktop.GeoClue2.Manager";
constexpr const char* clientInterface = "org.freedesktop.GeoClue2.Client";
constexpr const char* locationInterface = "org.freedesktop.GeoClue2.Location";

} // namespace

GeoClue::GeoClue(const std::shared_ptr<EventLoop>& loop, LocationOptions options)
    : loop_(loop), options_(std::move(options)), verdict_(loop->shared<GeoClueVerdict>()),
      reconnect_(*loop, geoClueDelays, [this] { connect(); }) {}

std::shared_ptr<GeoClue> GeoClue::start(const std::shared_ptr<EventLoop>& loop,
                                        const LocationOptions& options,
                                        std::weak_ptr<LocationSourceOwner> owner) {
    std::shared_ptr<GeoClue> geoClue(new GeoClue(loop, options));
    geoClue->answerDue_ = loop->deadline(weakly(geoClue, &GeoClue::timeIsUp));
    geoClue->await({.state = SourceState::starting});
    geoClue->connect();
    geoClue->owner_ = std::move(owner); // who is told nothing until now
    return geoClue;
}

/// A new connection also withdraws what a daemon that hangs has not answered.
void GeoClue::connect() {
    if (const auto loop = loop_.lock()) {
        life_.reset();
        busAnswers_ = false;
        bus_ = SystemBus::make(loop);
        name_ =
            NameWatch::start(bus_, geoClueName, weakly(weak_from_this(), &GeoClue::ownerChanged));
    }
}

void GeoClue::ownerChanged(const std::string& owner) {
    const bool lived = std::exchange(life_, nullptr) != nullptr;
    busAnswers_ = true;
    if (lived &&
        (condition_.state == SourceState::starting || condition_.state == SourceState::listening)) {
        auto meanwhile = bus_->obstacle().value_or(because(SourceReason::geoClueStopped));
        meanwhile.state = SourceState::starting;
        await(meanwhile);
    }
    if (!owner.empty()) {
        reconnect_.cancel();
        life_ = std::make_unique<Life>(bus_, owner);
        life_->daemon.ask({managerPath, managerInterface, "GetClient"}, {},
                          weakly(weak_from_this(), &GeoClue::clientMade));
    } else if (lived) {
        reconnect_.schedule();
    } else {
        activate();
    }
}

/// A daemon that was started shows by its name.
void GeoClue::activate() {
    const bool sent = bus_->send(
        {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
         "StartServiceByName"},
        [](sd_bus_message* call) { return sd_bus_message_append(call, "su", geoClueName, 0U); },
        weakly(weak_from_this(), &GeoClue::activated));
    if (!sent) {
        reconnect_.schedule(); // the bus may come
        become(bus_->obstacle().value_or(because(SourceReason::busSilent)));
    }
}

void GeoClue::activated(sd_bus_message* reply) {
    const sd_bus_error* error = sd_bus_message_get_error(reply);
    if (error == nullptr) {
        return;
    }
    if (sd_bus_error_has_names(error, SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_DISCONNECTED) > 0) {
        reconnect_.schedule(); // the bus went, and may come back
        become(bus_->obstacle().value_or(because(SourceReason::busSilent)));
        return;
    }
    become(because(sd_bus_error_has_name(error, SD_BUS_ERROR_SERVICE_UNKNOWN) > 0
                       ? SourceReason::geoClueNotInstalled
                       : SourceReason::geoClueCannotStart));
}

void GeoClue::clientMade(sd_bus_message* reply) {
    const char* path = nullptr;
    if (sd_bus_message_read(reply, "o", &path) <= 0) {
        refusedOrFailed(reply);
        return;
    }
    life_->hasClient = true;
    Daemon& daemon = life_->daemon;
    daemon.hear("path='" + std::string(path) + "'", weakly(weak_from_this(), &GeoClue::signalled));
    const Daemon::Method set{path, propertiesInterface, "Set"};
    if (!options_.desktopId.empty()) { // an empty one would pass as a name
        daemon.send(set, [this](sd_bus_message* call) {
            return sd_bus_message_append(call, "ssv", clientInterface, "DesktopId", "s",
                                         options_.desktopId.c_str());
        });
    }
    daemon.send(set, [this](sd_bus_message* call) {
        return sd_bus_message_append(call, "ssv", clientInterface, "RequestedAccuracyLevel", "u",
                                     static_cast<std::uint32_t>(options_.accuracy));
    });
    daemon.ask({path, clientInterface, "Start"}, {}, weakly(weak_from_this(), &GeoClue::started));
    if (condition_.state != SourceState::starting) {
        await({.state = SourceState::starting});
    }
}

void GeoClue::started(sd_bus_message* reply) {
    if (isError(reply)) {
        refusedOrFailed(reply);
        return;
    }
    reconnect_.reset();
    serves();
}

void GeoClue::serves() {
    become(life_->hasPlace ? listening(geoClueMeans)
                           : listening(geoClueMeans, SourceReason::geoClueFindsNothing));
}

void GeoClue::refusedOrFailed(sd_bus_message* reply) {
    const sd_bus_error* error = sd_bus_message_get_error(reply);
    const std::string said = repairedUTF8(errorText(reply));
    if (sd_bus_error_has_name(error, SD_BUS_ERROR_ACCESS_DENIED) > 0) {
        const char* sender = sd_bus_message_get_sender(reply);
        const bool isByBus = sender != nullptr && std::string_view(sender) != life_->daemon.name();
        become(isByBus ? because(SourceReason::geoClueForbidden)
                       : refusal("GeoClue refuses the location: " + said));
    } else {
        reconnect_.schedule();
        become(because(SourceReason::geoClueFails,
                       {isError(reply) ? std::string_view(said) : unreadableAnswer}));
    }
}

SourceCondition GeoClue::refusal(const std::string& said) const {
    return because(SourceReason::geoClueRefuses, {said, options_.desktopId});
}

void GeoClue::signalled(sd_bus_message* signal) {
    const char* before = nullptr;
    const char* location = nullptr;
    if (sd_bus_message_is_signal(signal, propertiesInterface, "PropertiesChanged") > 0) {
        propertiesChanged(signal);
    } else if (sd_bus_message_is_signal(signal, clientInterface, "LocationUpdated") > 0 &&
               sd_bus_message_read(signal, "oo", &before, &location) > 0) {
        life_->location = location;
        readLocation();
    }
}

/// The user may turn location off and on while the client runs.
void GeoClue::propertiesChanged(sd_bus_message* signal) {
    const char* interface = nullptr;
    int active = -1;
    if (sd_bus_message_read(signal, "s", &interface) <= 0 ||
        std::string_view(interface) != clientInterface) {
        return;
    }
    readProperties(signal, [&](std::string_view name, std::string_view type) {
        return name == "Active" && type == "b" &&
               sd_bus_message_read(signal, "v", "b", &active) > 0;
    });
    if (active == 1) {
        serves();
    } else if (active == 0) {
        become(refusal("the user has turned the location off"));
    }
}

/// One at a time: however fast GeoClue tells of new ones, each that is asked for is read.
void GeoClue::readLocation() {
    if (!life_->reading && !life_->location.empty()) {
        life_->reading = life_->daemon.ask(
            {std::exchange(life_->location, {}), propertiesInterface, "GetAll"},
            [](sd_bus_message* call) {
                return sd_bus_message_append(call, "s", locationInterface);
            },
            weakly(weak_from_this(), &GeoClue::locationRead));
    }
}

void GeoClue::locationRead(sd_bus_message* reply) {
    life_->reading = false;
    readLocation();
    const auto fix = fixFromGeoClue(reply);
    const auto owner = owner_.lock();
    if (fix && owner && condition_.state != SourceState::refused) {
        life_->hasPlace = true;
        if (condition_.state == SourceState::listening) {
            serves();
        }
        owner->sourceDidFix(*this, {*fix});
    }
}

void GeoClue::await(const SourceCondition& meanwhile) {
    answerDue_->arm(std::chrono::steady_clock::now() + timeToAnswer);
    become(meanwhile);
}

/// One that asks the user, or has no agent to ask, owes its answer; what it says of itself it says
/// at once.
void GeoClue::timeIsUp() {
    if (life_ && life_->hasClient) {
        become(because(SourceReason::geoClueAsks));
        return;
    }
    const auto silent = because(SourceReason::daemonSilent, {"geoclue"});
    become(busAnswers_ ? silent : because(SourceReason::busSilent));
    if (life_) {
        life_->daemon.ask(
            {managerPath, propertiesInterface, "Get"},
            [](sd_bus_message* call) {
                return sd_bus_message_append(call, "ss", managerInterface, "InUse");
            },
            weakly(weak_from_this(), [silent](GeoClue& self, sd_bus_message* reply) {
                if (!isError(reply) && self.condition_ == silent) {
                    self.become(because(SourceReason::geoClueWithoutAgent));
                }
            }));
    }
}

void GeoClue::become(const SourceCondition& condition) {
    if (condition.state != SourceState::starting) {
        answerDue_->disarm();
    }
    const auto owner = owner_.lock();
    const bool isNews = condition_ != condition;
    condition_ = condition;
    if (isNews && owner) {
        owner->sourceDidChange(*this);
    }
    if (condition.state == SourceState::listening || condition.state == SourceState::refused) {
        verdict_->tell(condition.state == SourceState::refused);
    }
}

LocationSourceFactory geoClueFactory(const std::shared_ptr<EventLoop>& loop,
                                     const LocationOptions& options) {
    LocationOptions own = options;
    own.desktopId = desktopId(options);
    return [loop, own](std::weak_ptr<LocationSourceOwner> owner) {
        return GeoClue::start(loop, own, std::move(owner));
    };
}

} // namespace AmbrelKit::Linux
