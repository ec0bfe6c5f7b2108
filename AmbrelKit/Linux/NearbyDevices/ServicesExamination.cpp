#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/NearbyDevices/MulticastNetwork.hpp"

namespace AmbrelKit::Linux {

namespace {

Finding failsFor(SourceReason reason) {
    const auto condition = because(reason);
    return fails(condition.reason, condition.remedy);
}

Finding judgedNetwork() {
    const auto lacking = embeddedStackLacks();
    return lacking ? failsFor(*lacking)
                   : works("the embedded mDNS stack, since no avahi-daemon serves here");
}

Finding judgedDaemon(sd_bus_message* version) {
    if (version == nullptr) {
        return judgedNetwork().usable
                   ? works("the embedded mDNS stack, two seconds late: avahi-daemon does not "
                           "answer (systemctl restart avahi-daemon)")
                   : failsWithoutAnswer("avahi-daemon");
    }
    const char* text = nullptr;
    if (isError(version) || sd_bus_message_read(version, "s", &text) <= 0) {
        return judgedNetwork();
    }
    return networkDoesMulticast().value_or(true) ? works("avahi-daemon (" + std::string(text) + ")")
                                                 : failsFor(SourceReason::noMulticastInterface);
}

} // namespace

Examination examineServices(const Surroundings& surroundings, const Report& report) {
    constexpr const char* name = "org.freedesktop.Avahi";
    if (surroundings.running.contains(name)) {
        return askDaemon(surroundings,
                         {name, "/", "org.freedesktop.Avahi.Server", "GetVersionString"}, {},
                         [report](sd_bus_message* reply) { report(judgedDaemon(reply)); });
    }
    report(judgedNetwork());
    return nullptr;
}

} // namespace AmbrelKit::Linux
