#include "AmbrelKit/Linux/Bus/SystemBus.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr Retry::Delays busDelays{.first = std::chrono::seconds(1),
                                  .longest = std::chrono::seconds(64)};

/// Who hangs may go on after sd-bus would have given up, and its answer is then the only one; who
/// dies is told of by its name.
constexpr std::uint64_t noTimeout = UINT64_MAX;

constexpr const char* disconnectedRule = "type='signal',sender='org.freedesktop.DBus.Local',"
                                         "path='/org/freedesktop/DBus/Local',"
                                         "interface='org.freedesktop.DBus.Local',"
                                         "member='Disconnected'";

/// sd-bus closes the connection when a match is refused and nobody takes the answer.
int ignoreAnswer(sd_bus_message* /*answer*/, void* /*self*/, sd_bus_error* /*error*/) { return 0; }

} // namespace

/// Lives as long as sd-bus keeps the call's slot, the time inside its own callback included.
struct SystemBus::Reply {
    std::weak_ptr<SystemBus> bus;
    BusReceiver replied;

    static int run(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        const auto* reply = static_cast<Reply*>(self);
        const auto bus = reply->bus.lock();
        if (!bus) {
            return 0;
        }
        if (sd_bus_is_ready(sd_bus_message_get_bus(message)) > 0) {
            bus->reconnect_.reset();
            bus->answered_ = true;
        }
        bus->loop_->guarded([&] { reply->replied(message); });
        return 0;
    }
};

bool isError(sd_bus_message* reply, const char* name) {
    return sd_bus_message_is_method_error(reply, name) > 0;
}

std::string errorText(sd_bus_message* reply) {
    const sd_bus_error* const error = sd_bus_message_get_error(reply);
    if (error == nullptr) {
        return {};
    }
    const bool hasMessage = error->message != nullptr && *error->message != '\0';
    return hasMessage ? error->message : error->name;
}

PendingCall::~PendingCall() { sd_bus_slot_unref(slot_); }

SignalMatch::SignalMatch(std::weak_ptr<SystemBus> bus, std::string rule, BusReceiver received)
    : bus_(std::move(bus)), rule_(std::move(rule)), received_(std::move(received)) {}

SignalMatch::~SignalMatch() {
    sd_bus_slot_unref(slot_);
    if (const auto bus = bus_.lock()) {
        bus->loop_->touch();
    }
}

void SignalMatch::connected() {
    lost();
    if (const auto bus = bus_.lock()) {
        sd_bus_add_match_async(bus->bus_, &slot_, rule_.c_str(), &run, &ignoreAnswer, this);
        bus->loop_->touch();
    }
}

void SignalMatch::lost() { slot_ = sd_bus_slot_unref(slot_); }

int SignalMatch::run(sd_bus_message* signal, void* self, sd_bus_error* /*error*/) {
    const auto keep = static_cast<SignalMatch*>(self)->shared_from_this();
    if (const auto bus = keep->bus_.lock()) {
        bus->loop_->guarded([&] { keep->received_(signal); });
    }
    return 0;
}

SystemBus::SystemBus(std::shared_ptr<EventLoop> loop)
    : loop_(std::move(loop)), reconnect_(*loop_, busDelays, [this] { connect(); }) {}

std::shared_ptr<SystemBus> SystemBus::make(const std::shared_ptr<EventLoop>& loop) {
    std::shared_ptr<SystemBus> bus(new SystemBus(loop));
    bus->absence_ = loop->deferral(weakly(bus, &SystemBus::tellAbsence));
    bus->connect();
    return bus;
}

SystemBus::~SystemBus() { close(); }

void SystemBus::connect() {
    if (!open()) {
        close();
        reconnect_.schedule();
        return;
    }
    wasConnected_ = true;
    const auto keep = shared_from_this();
    registrations_.each([](BusRegistration& registration) { registration.connected(); });
}

bool SystemBus::open() {
    answered_ = false;
    opened_ = sd_bus_open_system(&bus_);
    if (opened_ >= 0) {
        opened_ = sd_bus_attach_event(bus_, loop_->native(), SD_EVENT_PRIORITY_NORMAL);
    }
    if (opened_ >= 0) {
        opened_ = sd_bus_add_match(bus_, &disconnected_, disconnectedRule, &disconnected, this);
    }
    loop_->touch();
    return opened_ >= 0;
}

void SystemBus::close() {
    disconnected_ = sd_bus_slot_unref(disconnected_);
    if (bus_ != nullptr) {
        sd_bus_detach_event(bus_);
        bus_ = sd_bus_close_unref(bus_);
    }
}

void SystemBus::lost() {
    close();
    reconnect_.schedule();
    absence_->schedule();
}

int SystemBus::disconnected(sd_bus_message* /*signal*/, void* self, sd_bus_error* /*error*/) {
    const auto bus = static_cast<SystemBus*>(self)->shared_from_this();
    bus->loop_->guarded([&] { bus->lost(); });
    return 0;
}

void SystemBus::tellAbsence() {
    registrations_.each([this](BusRegistration& registration) {
        if (bus_ == nullptr) {
            loop_->guarded([&] { registration.lost(); });
        }
    });
}

std::optional<SourceCondition> SystemBus::obstacle() const {
    const bool open = bus_ != nullptr && sd_bus_is_open(bus_) > 0;
    if (open && answered_) {
        return std::nullopt;
    }
    if (open) {
        return starting(SourceReason::busSilent);
    }
    return because(opened_ >= 0 && !answered_ ? SourceReason::busCloses
                                              : reasonFor(-opened_, SourceReason::noBus));
}

std::unique_ptr<PendingCall> SystemBus::call(const BusMethod& method, const BusArguments& arguments,
                                             BusReceiver replied) {
    sd_bus_slot* slot = nullptr;
    if (!transmit(method, arguments, std::move(replied), &slot)) {
        return nullptr;
    }
    return std::make_unique<PendingCall>(slot);
}

bool SystemBus::send(const BusMethod& method, const BusArguments& arguments, BusReceiver replied) {
    if (!replied) {
        return transmit(method, arguments, {}, nullptr);
    }
    sd_bus_slot* slot = nullptr;
    if (!transmit(method, arguments, std::move(replied), &slot)) {
        return false;
    }
    sd_bus_slot_set_floating(slot, 1);
    sd_bus_slot_unref(slot);
    return true;
}

bool SystemBus::transmit(const BusMethod& method, const BusArguments& arguments,
                         BusReceiver replied, sd_bus_slot** slot) {
    if (bus_ == nullptr) {
        return false;
    }
    sd_bus_message* raw = nullptr;
    if (sd_bus_message_new_method_call(bus_, &raw, method.service.c_str(), method.path.c_str(),
                                       method.interface.c_str(), method.member.c_str()) < 0) {
        return false;
    }
    const std::unique_ptr<sd_bus_message, decltype(&::sd_bus_message_unref)> message(
        raw, sd_bus_message_unref);
    // Daemons are used where they run; asking must not start one.
    sd_bus_message_set_auto_start(raw, 0);
    if (arguments && arguments(raw) < 0) {
        return false;
    }
    loop_->touch();
    if (slot == nullptr) {
        return sd_bus_message_set_expect_reply(raw, 0) >= 0 && sd_bus_send(bus_, raw, nullptr) >= 0;
    }
    auto reply = std::make_unique<Reply>(Reply{weak_from_this(), std::move(replied)});
    if (sd_bus_call_async(bus_, slot, raw, &Reply::run, reply.get(), noTimeout) < 0) {
        return false;
    }
    sd_bus_slot_set_destroy_callback(*slot, [](void* self) { delete static_cast<Reply*>(self); });
    static_cast<void>(reply.release());
    return true;
}

std::shared_ptr<SignalMatch> SystemBus::match(std::string rule, BusReceiver received) {
    std::shared_ptr<SignalMatch> match(
        new SignalMatch(weak_from_this(), std::move(rule), std::move(received)));
    enrol(match);
    return match;
}

void SystemBus::enrol(const std::shared_ptr<BusRegistration>& registration) {
    registrations_.add(registration);
    if (bus_ != nullptr) {
        registration->connected();
        return;
    }
    absence_->schedule();
    if (wasConnected_) { // it may have come back long ago, and is wanted now
        reconnect_.reset();
        reconnect_.schedule();
    }
}

} // namespace AmbrelKit::Linux
