#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"

namespace AmbrelKit::Linux {

namespace {

Finding judgedInhibitor(sd_bus_message* inhibitor) {
    if (inhibitor == nullptr) {
        return failsWithoutAnswer("systemd-logind");
    }
    return sd_bus_message_is_method_error(inhibitor, nullptr) > 0
               ? fails("logind refuses to delay a suspend for this user",
                       "allow org.freedesktop.login1.inhibit-delay-sleep in polkit")
               : works("logind");
}

} // namespace

/// Takes the inhibitor that an automatic collection takes; it is closed with the reply.
Examination examineLifecycle(const Surroundings& surroundings, const Report& report) {
    constexpr const char* name = "org.freedesktop.login1";
    if (!surroundings.busAnswers) {
        report(failsWithoutBus());
    } else if (surroundings.running.contains(name)) {
        return askDaemon(
            surroundings,
            {name, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "Inhibit"},
            [](sd_bus_message* call) {
                return sd_bus_message_append(call, "ssss", "sleep", "AmbrelKit",
                                             "Seeing whether it may", "delay");
            },
            [report](sd_bus_message* reply) { report(judgedInhibitor(reply)); });
    } else {
        report(fails("there is no logind, so suspend and resume go unnoticed",
                     "start systemd-logind or elogind"));
    }
    return nullptr;
}

} // namespace AmbrelKit::Linux
