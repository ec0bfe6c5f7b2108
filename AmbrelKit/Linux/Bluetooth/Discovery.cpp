#include "AmbrelKit/Linux/Bluetooth/Discovery.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// A new filter replaces the connection's earlier one, and what it leaves out has no limit: RSSI
/// and Pathloss, of which BlueZ takes only one, are unset by their absence.
int appendFilter(sd_bus_message* call) {
    return sd_bus_message_append(call, "a{sv}", 4, "Transport", "s", "le", "DuplicateData", "b", 0,
                                 "Discoverable", "b", 0, "UUIDs", "as", 0);
}

/// BlueZ says so of a start that it has already granted, of a start that the controller refuses,
/// and of a stop that comes before the start has finished.
bool isInProgress(sd_bus_message* reply) { return isError(reply, "org.bluez.Error.InProgress"); }

bool isDenial(sd_bus_message* reply) {
    return isError(reply, SD_BUS_ERROR_ACCESS_DENIED) ||
           isError(reply, "org.bluez.Error.NotAuthorized");
}

} // namespace

Discovery::Discovery(EventLoop& loop, Place place, bool discovering, std::function<void()> changed)
    : bus_(loop.shared<SystemBus>()), place_(std::move(place)), discovering_(discovering),
      changed_(std::move(changed)), retry_(loop, retryDelays, [this] { step(); }) {}

Discovery::~Discovery() {
    if (phase_ == Phase::running) {
        bus_->send(method("StopDiscovery"), {});
    }
}

void Discovery::want(bool wanted) {
    if (wanted_ != wanted) {
        wanted_ = wanted;
        failure_.clear();
        retry_.reset();
        step();
    }
}

void Discovery::reported(bool discovering) {
    discovering_ = discovering;
    if (phase_ == Phase::running && !discovering) {
        waitThenRetry();
    }
}

void Discovery::step() {
    if (retry_.pending()) {
        return;
    }
    if (phase_ == Phase::idle && wanted_) {
        setFilter();
    } else if (phase_ == Phase::running && !wanted_) {
        stop();
    }
}

void Discovery::setFilter() {
    phase_ = Phase::starting;
    call_ = bus_->call(method("SetDiscoveryFilter"), appendFilter,
                       weakly(weak_from_this(), &Discovery::filterSet));
    if (!call_) {
        waitThenRetry();
    }
}

void Discovery::filterSet(sd_bus_message* reply) {
    if (isError(reply)) {
        failed(reply);
    } else if (wanted_) {
        start();
    } else {
        phase_ = Phase::idle;
    }
}

void Discovery::start() {
    const auto replied = [weak = weak_from_this(), bus = std::weak_ptr(bus_),
                          stop = method("StopDiscovery")](sd_bus_message* reply) {
        if (const auto discovery = weak.lock()) {
            discovery->started(reply);
        } else if (const auto connection = bus.lock(); connection && !isError(reply)) {
            connection->send(stop, {}); // nobody waits for it any more
        }
    };
    if (!bus_->send(method("StartDiscovery"), {}, replied)) {
        waitThenRetry();
    }
}

void Discovery::started(sd_bus_message* reply) {
    if (isError(reply) && !(isInProgress(reply) && discovering_)) {
        failed(reply);
        return;
    }
    phase_ = Phase::running;
    failure_.clear();
    retry_.reset();
    step();
    changed_();
}

void Discovery::failed(sd_bus_message* reply) {
    denied_ = isDenial(reply);
    if (denied_) {
        phase_ = Phase::idle;
    } else {
        failure_ = errorText(reply);
        waitThenRetry();
    }
    changed_();
}

void Discovery::stop() {
    phase_ = Phase::stopping;
    call_ = bus_->call(method("StopDiscovery"), {}, weakly(weak_from_this(), &Discovery::stopped));
    if (!call_) {
        phase_ = Phase::idle; // the connection has gone, and with it the discovery
    }
}

void Discovery::stopped(sd_bus_message* reply) {
    if (isInProgress(reply)) {
        waitThenRetry();
        phase_ = Phase::running;
        return;
    }
    phase_ = Phase::idle; // an error says that there is nothing to stop
    step();
}

void Discovery::waitThenRetry() {
    phase_ = Phase::idle;
    retry_.schedule();
}

BusMethod Discovery::method(const char* member) const {
    return {place_.daemon, place_.adapter, "org.bluez.Adapter1", member};
}

} // namespace AmbrelKit::Linux
