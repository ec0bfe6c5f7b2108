#include "AmbrelKit/Linux/Location/GeoClue.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Location/GeoClueVerdict.hpp"
#include "AmbrelKit/Linux/Location/GeoClueWatch.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

using std::chrono::system_clock;

constexpr std::chrono::milliseconds firstDelay{500};
constexpr std::chrono::milliseconds longestDelay{8000};

constexpr const char* managerPath = "/org/freedesktop/GeoClue2/Manager";
constexpr const char* managerInterface = "org.freedesktop.GeoClue2.Manager";
constexpr const char* clientInterface = "org.freedesktop.GeoClue2.Client";
constexpr const char* locationInterface = "org.freedesktop.GeoClue2.Location";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

/// The clock's time stands in for one that is absent or beyond the clock's range.
system_clock::time_point timeFrom(std::uint64_t seconds, std::uint64_t microseconds) {
    constexpr auto last = std::chrono::floor<std::chrono::seconds>(system_clock::duration::max());
    if (seconds == 0 || seconds >= static_cast<std::uint64_t>(last.count()) ||
        microseconds >= 1'000'000) {
        return system_clock::now();
    }
    return system_clock::time_point(std::chrono::seconds(seconds) +
                                    std::chrono::microseconds(microseconds));
}

std::optional<LocationFix> fixFromProperties(sd_bus_message* reply) {
    std::optional<double> latitude;
    std::optional<double> longitude;
    std::uint64_t seconds = 0;
    std::uint64_t microseconds = 0;
    const auto readDegrees = [reply](std::optional<double>& degrees) {
        return sd_bus_message_read(reply, "v", "d", &degrees.emplace()) > 0;
    };
    readProperties(reply, [&](std::string_view name, std::string_view type) {
        if (name == "Latitude" && type == "d") {
            return readDegrees(latitude);
        }
        if (name == "Longitude" && type == "d") {
            return readDegrees(longitude);
        }
        return name == "Timestamp" && type == "(tt)" &&
               sd_bus_message_read(reply, "v", "(tt)", &seconds, &microseconds) > 0;
    });
    if (!latitude || !longitude) {
        return std::nullopt;
    }
    const LocationCoordinate coordinate{.latitude = *latitude, .longitude = *longitude};
    return isOnEarth(coordinate)
               ? std::optional(LocationFix{coordinate, timeFrom(seconds, microseconds)})
               : std::nullopt;
}

} // namespace

GeoClue::GeoClue(const std::shared_ptr<EventLoop>& loop, std::string desktopId,
                 LocationAccuracy accuracy, std::weak_ptr<LocationSourceOwner> owner)
    : loop_(loop), desktopId_(std::move(desktopId)), accuracy_(accuracy), owner_(std::move(owner)),
      delay_(firstDelay) {}

std::shared_ptr<GeoClue> GeoClue::start(const std::shared_ptr<EventLoop>& loop,
                                        std::string desktopId, LocationAccuracy accuracy,
                                        std::weak_ptr<LocationSourceOwner> owner) {
    std::shared_ptr<GeoClue> geoClue(
        new GeoClue(loop, std::move(desktopId), accuracy, std::move(owner)));
    geoClue->retry_ = loop->deadline([weak = std::weak_ptr(geoClue)] {
        if (const auto geoClue = weak.lock()) {
            geoClue->connect();
        }
    });
    geoClue->connect();
    return geoClue;
}

/// A new connection also withdraws what a daemon that hangs has not answered.
void GeoClue::connect() {
    const auto loop = loop_.lock();
    if (!loop) {
        return;
    }
    forget();
    daemon_.clear();
    bus_ = SystemBus::make(loop);
    name_ =
        NameWatch::start(bus_, geoClueName, [weak = weak_from_this()](const std::string& daemon) {
            if (const auto geoClue = weak.lock()) {
                geoClue->daemonChanged(daemon);
            }
        });
}

void GeoClue::forget() {
    question_.reset();
    reading_.reset();
    signals_.reset();
    client_.clear();
}

void GeoClue::daemonChanged(const std::string& daemon) {
    const bool gone = daemon.empty() && !daemon_.empty();
    forget();
    daemon_ = daemon;
    if (!daemon.empty()) {
        retry_->disarm();
        if (state_ == State::absent) {
            become(State::asking);
        }
        ask({daemon_, managerPath, managerInterface, "GetClient"}, &GeoClue::clientMade);
    } else if (gone) {
        retryLater();
    } else {
        activate();
    }
}

void GeoClue::activate() {
    question_ = bus_->call(
        {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
         "StartServiceByName"},
        [](sd_bus_message* call) { return sd_bus_message_append(call, "su", geoClueName, 0U); },
        receiver(&GeoClue::activated));
    if (!question_) {
        become(State::absent);
        retryLater(); // the bus may come
    }
}

/// A daemon that was started shows by its name.
void GeoClue::activated(sd_bus_message* reply) {
    question_.reset();
    if (sd_bus_message_is_method_error(reply, nullptr) == 0) {
        return;
    }
    become(State::absent);
    if (sd_bus_error_has_names(sd_bus_message_get_error(reply), SD_BUS_ERROR_NO_REPLY,
                               SD_BUS_ERROR_DISCONNECTED) > 0) {
        retryLater(); // the bus went, and may come back
    }
}

void GeoClue::clientMade(sd_bus_message* reply) {
    const char* path = nullptr;
    if (sd_bus_message_read(reply, "o", &path) <= 0) {
        refusedOrFailed(reply);
        return;
    }
    client_ = path;
    signals_ = bus_->match("type='signal',sender='" + daemon_ + "',path='" + client_ + "'",
                           receiver(&GeoClue::clientSignalled));
    const BusMethod set{daemon_, client_, propertiesInterface, "Set"};
    if (!desktopId_.empty()) { // an empty one would pass as a name
        bus_->send(set, [this](sd_bus_message* call) {
            return sd_bus_message_append(call, "ssv", clientInterface, "DesktopId", "s",
                                         desktopId_.c_str());
        });
    }
    bus_->send(set, [this](sd_bus_message* call) {
        return sd_bus_message_append(call, "ssv", clientInterface, "RequestedAccuracyLevel", "u",
                                     static_cast<std::uint32_t>(accuracy_));
    });
    ask({daemon_, client_, clientInterface, "Start"}, &GeoClue::started);
}

void GeoClue::started(sd_bus_message* reply) {
    question_.reset();
    if (sd_bus_message_is_method_error(reply, nullptr) > 0) {
        refusedOrFailed(reply);
        return;
    }
    delay_ = firstDelay;
    become(State::ready);
}

void GeoClue::refusedOrFailed(sd_bus_message* reply) {
    const sd_bus_error* error = sd_bus_message_get_error(reply);
    if (sd_bus_error_has_name(error, SD_BUS_ERROR_ACCESS_DENIED) > 0) {
        become(State::refused, "GeoClue refuses the location: " +
                                   repairedUTF8(error->message != nullptr ? error->message : ""));
    } else {
        retryLater();
    }
}

void GeoClue::clientSignalled(sd_bus_message* signal) {
    const char* before = nullptr;
    const char* location = nullptr;
    if (sd_bus_message_is_signal(signal, clientInterface, "LocationUpdated") > 0) {
        if (sd_bus_message_read(signal, "oo", &before, &location) > 0) {
            reading_ = bus_->call(
                {daemon_, location, propertiesInterface, "GetAll"},
                [](sd_bus_message* call) {
                    return sd_bus_message_append(call, "s", locationInterface);
                },
                receiver(&GeoClue::locationRead));
        }
    } else if (sd_bus_message_is_signal(signal, propertiesInterface, "PropertiesChanged") > 0) {
        propertiesChanged(signal);
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
        become(State::ready);
    } else if (active == 0) {
        become(State::refused, "The user has turned the location off");
    }
}

void GeoClue::locationRead(sd_bus_message* reply) {
    reading_.reset();
    const auto fix = fixFromProperties(reply);
    const auto owner = owner_.lock();
    if (fix && owner) {
        owner->sourceDidFix(*this, {*fix});
    }
}

void GeoClue::become(State state, std::string reason) {
    reason_ = std::move(reason);
    const auto loop = loop_.lock();
    if (loop && (state == State::ready || state == State::refused)) {
        loop->shared<GeoClueVerdict>()->tell(*loop, state == State::refused);
    }
    const auto owner = owner_.lock();
    if (std::exchange(state_, state) != state && owner) {
        owner->sourceDidChange(*this);
    }
}

void GeoClue::retryLater() {
    retry_->arm(std::chrono::steady_clock::now() + delay_);
    delay_ = std::min(delay_ * 2, longestDelay);
}

void GeoClue::ask(const BusMethod& method, Handler answered) {
    question_ = bus_->call(method, {}, receiver(answered));
}

BusReceiver GeoClue::receiver(Handler handler) {
    return [weak = weak_from_this(), handler](sd_bus_message* message) {
        if (const auto geoClue = weak.lock()) {
            ((*geoClue).*handler)(message);
        }
    };
}

LocationSourceFactory geoClueFactory(const std::shared_ptr<EventLoop>& loop,
                                     const LocationOptions& options) {
    return [loop, desktopId = options.desktopId,
            accuracy = options.accuracy](std::weak_ptr<LocationSourceOwner> owner) {
        return GeoClue::start(loop, desktopId, accuracy, std::move(owner));
    };
}

} // namespace AmbrelKit::Linux
