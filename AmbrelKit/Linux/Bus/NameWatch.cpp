#include "AmbrelKit/Linux/Bus/NameWatch.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <string_view>
#include <utility>

namespace AmbrelKit::Linux {

NameWatch::NameWatch(const std::shared_ptr<SystemBus>& bus, std::string name, Receiver changed)
    : bus_(bus), name_(std::move(name)), changed_(std::move(changed)) {}

std::shared_ptr<NameWatch> NameWatch::start(const std::shared_ptr<SystemBus>& bus, std::string name,
                                            Receiver changed) {
    std::shared_ptr<NameWatch> watch(new NameWatch(bus, std::move(name), std::move(changed)));
    // Enrolled before the watch itself, the match is on its way before the question for the owner.
    watch->changes_ = bus->match("type='signal',sender='org.freedesktop.DBus',"
                                 "path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
                                 "member='NameOwnerChanged',arg0='" +
                                     watch->name_ + "'",
                                 weakly(watch, &NameWatch::ownerChanged));
    bus->enrol(watch);
    return watch;
}

SourceCondition NameWatch::absence(SourceReason none) const {
    const auto bus = bus_.lock();
    if (const auto obstacle = bus ? bus->obstacle() : because(SourceReason::noBus)) {
        return *obstacle;
    }
    return owner_ ? because(none) : starting(SourceReason::busSilent);
}

void NameWatch::connected() {
    const auto bus = bus_.lock();
    if (!bus) {
        return;
    }
    question_ = bus->call(
        {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner"},
        [&](sd_bus_message* call) { return sd_bus_message_append(call, "s", name_.c_str()); },
        weakly(weak_from_this(), &NameWatch::answered));
}

void NameWatch::answered(sd_bus_message* reply) {
    question_.reset();
    if (isError(reply,
                SD_BUS_ERROR_NO_REPLY)) { // a silent bus is asked again, a lost one when it is back
        connected();
        return;
    }
    const char* owner = "";
    sd_bus_message_read(reply, "s", &owner); // an error: nobody owns it
    tell(isError(reply) ? "" : owner);
}

void NameWatch::lost() {
    question_.reset();
    tell("");
}

/// sd-bus takes anybody for the bus who sends to this connection alone, past what the bus sifts.
void NameWatch::ownerChanged(sd_bus_message* signal) {
    const char* const sender = sd_bus_message_get_sender(signal);
    if (sender == nullptr || std::string_view(sender) != "org.freedesktop.DBus") {
        return;
    }
    const char* name = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (sd_bus_message_read(signal, "sss", &name, &before, &after) > 0) {
        tell(after);
    }
}

void NameWatch::tell(const std::string& owner) {
    if (owner_ != owner) {
        owner_ = owner;
        changed_(owner);
    }
}

} // namespace AmbrelKit::Linux
