#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "AmbrelKit/Linux/Network/Wireless.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

using Clock = std::chrono::steady_clock;

/// How long a daemon may take to answer.
constexpr std::chrono::seconds daemonPatience{3};

/// How long GeoClue or gpsd may take to answer, and to give a fix then.
constexpr std::chrono::seconds fixPatience{6};

constexpr const char* someServiceType = "_http._tcp";
constexpr const char* avahiDaemon = "avahi-daemon"; ///< as a means

} // namespace

Examination::Examination(const std::shared_ptr<EventLoop>& loop, MDNSStack mdns, Source source,
                         std::function<void()> answered)
    : mdns_(mdns), source_(source), answered_(std::move(answered)), bus_(loop->shared<SystemBus>()),
      board_(loop->shared<LoopBoard>()),
      end_(Clock::now() + (source == Source::location ? fixPatience : daemonPatience)) {}

std::shared_ptr<Examination> Examination::start(const std::shared_ptr<EventLoop>& loop,
                                                const LocationOptions& location, MDNSStack mdns,
                                                Source source, std::function<void()> answered) {
    auto examination = std::make_shared<Examination>(loop, mdns, source, std::move(answered));
    examination->ask(location);
    return examination;
}

void Examination::ask(const LocationOptions& location) {
    const auto services = platformServices(location, mdns_);
    switch (source_) {
    case Source::bluetooth: {
        const auto manager = services.bluetoothManagerFactory();
        manager->scanForPeripheralsWithServices(std::nullopt, std::nullopt);
        asked_ = manager;
        break;
    }
    case Source::services: {
        const auto browser = services.netServiceBrowserFactory();
        browser->searchForServicesOfType(someServiceType, "local.");
        asked_ = browser;
        break;
    }
    case Source::location: {
        if (location.source == LocationSourceKind::none) {
            answer_.emplace(); // idle, as chosen
            break;
        }
        const auto manager = services.locationManagerFactory();
        manager->requestWhenInUseAuthorization();
        asked_ = manager;
        break;
    }
    case Source::address:
        askForAddress();
        break;
    case Source::wifi:
        askForNetwork();
        break;
    case Source::lifecycle: // the task ends with the last who holds the application
        services.application->beginBackgroundTask("Seeing whether it may", [] {});
        asked_ = services.application;
        break;
    }
}

void Examination::askForAddress() {
    auto [address, condition] = Interfaces().addressIPv4();
    answer_ = std::move(condition);
    detail_ = ", " + address.value_or("");
}

void Examination::askForNetwork() {
    const auto joined = ProcessServices::current().availableNetworks();
    if (joined.empty()) {
        answer_ = withoutNetwork(wirelessStations());
        detail_ = ", not joined to a network now";
    } else {
        answer_ = listening(joined.front().interface);
        detail_ = ", joined to " + joined.front().ssid.value_or("a network without a name");
    }
}

void Examination::look() {
    if (found_) {
        return;
    }
    const auto condition = answer_ ? *answer_ : board_->condition(source_);
    const bool mayWait = Clock::now() < end_;
    if (mayWait && (!isSettled(condition) || isProbing(condition))) {
        return;
    }
    found_ = judged(isInstalled_ ? condition : because(SourceReason::blueZNotInstalled));
    probe_.reset();
    asked_.reset();
}

/// Whether no more is to be expected of the source than this.
bool Examination::isSettled(const SourceCondition& condition) const {
    switch (condition.state) {
    case SourceState::idle:
        return answer_.has_value();
    case SourceState::starting:
        return false;
    case SourceState::listening:
        return source_ != Source::location || condition.code.empty(); // it has a fix
    default:
        return condition.code != because(SourceReason::daemonSilent).code; // it may still answer
    }
}

/// A search for services finds them by whatever means; of any other source that listens it is to be
/// told when it could do better.
bool Examination::isUsable(const SourceCondition& condition) const {
    return condition.state == SourceState::listening &&
           (source_ == Source::services || condition.remedy.empty());
}

SourceDiagnosis Examination::judged(const SourceCondition& condition) const {
    SourceDiagnosis found{.source = std::string(code(source_)),
                          .usable = isUsable(condition),
                          .finding = condition.reason,
                          .remedy = condition.remedy,
                          .state = condition.state,
                          .code = condition.code};
    if (answer_ && condition.state == SourceState::idle) {
        found.usable = true;
        found.finding = "none, as chosen";
    } else if (found.usable) {
        found.finding = condition.means + detail_;
        if (!condition.reason.empty()) {
            found.finding += "; " + condition.reason;
        } else if (source_ == Source::services && condition.means != avahiDaemon) {
            found.finding += mdns_ == MDNSStack::embedded ? ", as chosen"
                                                          : ", since no avahi-daemon serves here";
        }
    } else if (found.finding.empty()) {
        found.finding = "it has not answered";
    }
    return found;
}

bool Examination::isProbing(const SourceCondition& condition) {
    if (source_ == Source::bluetooth &&
        condition.code == because(SourceReason::blueZNotRunning).code) {
        probe({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
               "ListActivatableNames"});
    } else if (source_ == Source::services && condition.means == avahiDaemon) {
        probe({"org.freedesktop.Avahi", "/", "org.freedesktop.Avahi.Server", "GetVersionString"});
    }
    return probe_ != nullptr;
}

void Examination::probe(const BusMethod& method) {
    if (!std::exchange(wasProbed_, true)) {
        probe_ = bus_->call(method, {}, weakly(weak_from_this(), &Examination::probed));
    }
}

void Examination::probed(sd_bus_message* reply) {
    probe_.reset();
    const char* version = nullptr;
    if (source_ == Source::bluetooth && !isError(reply)) {
        isInstalled_ = false;
        eachText(reply, [this](std::string_view name) { isInstalled_ |= name == "org.bluez"; });
    } else if (!isError(reply) && sd_bus_message_read(reply, "s", &version) > 0) {
        detail_ = " (" + std::string(version) + ")";
    }
    answered_();
}

} // namespace AmbrelKit::Linux
