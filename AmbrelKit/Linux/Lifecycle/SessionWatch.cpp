#include "AmbrelKit/Linux/Lifecycle/SessionWatch.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <cstdlib>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr const char* none = "/"; ///< as logind says it
constexpr const char* userInterface = "org.freedesktop.login1.User";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";

/// The path of a user's object is known before logind has one.
std::string userPath() { return "/org/freedesktop/login1/user/_" + std::to_string(getuid()); }

std::string propertiesOf(const std::string& path) {
    return "path='" + path + "',interface='" + propertiesInterface + "',member='PropertiesChanged'";
}

BusArguments property(const char* interface, const char* name) {
    return [=](sd_bus_message* call) { return sd_bus_message_append(call, "ss", interface, name); };
}

} // namespace

std::string sessionName(const std::string& path) {
    char* decoded = nullptr;
    sd_bus_path_decode(path.c_str(), "/org/freedesktop/login1/session", &decoded);
    const std::unique_ptr<char, void (*)(void*)> name(decoded, std::free);
    return name ? repairedUTF8(name.get()) : path;
}

SessionWatch::SessionWatch(std::shared_ptr<SystemBus> bus, const std::string& logind,
                           Receiver changed)
    : changed_(std::move(changed)), logind_(std::move(bus), logind) {
    // A login or logout moves the display, also where this process's own session goes on without
    // its user.
    logind_.hear(propertiesOf(userPath()), [this](sd_bus_message*) { search(); });
    search();
}

void SessionWatch::search() {
    logind_.ask(
        {"/org/freedesktop/login1", "org.freedesktop.login1.Manager", "GetSessionByPID"},
        [](sd_bus_message* call) { return sd_bus_message_append(call, "u", 0U); },
        [this](sd_bus_message* reply) {
            const char* path = nullptr;
            if (sd_bus_message_read(reply, "o", &path) <= 0) {
                askForDisplay();
                return;
            }
            logind_.ask({path, propertiesInterface, "Get"}, property(sessionInterface, "State"),
                        [this, own = std::string(path)](sd_bus_message* state) {
                            const char* text = "";
                            sd_bus_message_read(state, "v", "s", &text);
                            if (std::string_view(text) == "closing") {
                                askForDisplay();
                            } else {
                                follow(own);
                            }
                        });
        });
}

void SessionWatch::askForDisplay() {
    logind_.ask({userPath(), propertiesInterface, "Get"}, property(userInterface, "Display"),
                [this](sd_bus_message* reply) { // an error: logind does not know the user now
                    const char* name = nullptr;
                    const char* path = none;
                    sd_bus_message_read(reply, "v", "(so)", &name, &path);
                    follow(path);
                });
}

void SessionWatch::follow(const std::string& session) {
    if (session == session_) {
        return;
    }
    session_ = session;
    about_.reset();
    if (session == none) {
        tell(false);
        return;
    }
    about_ = std::make_unique<Daemon>(logind_.bus(), logind_.name());
    about_->hear(propertiesOf(session), [this](sd_bus_message* signal) {
        const char* interface = nullptr;
        if (sd_bus_message_read(signal, "s", &interface) > 0) {
            learn(signal);
        }
    });
    about_->ask(
        {session, propertiesInterface, "GetAll"},
        [](sd_bus_message* call) { return sd_bus_message_append(call, "s", sessionInterface); },
        [this](sd_bus_message* reply) { learn(reply); });
}

void SessionWatch::learn(sd_bus_message* properties) {
    int active = -1;
    readProperties(properties, [&](std::string_view name, std::string_view type) {
        return name == "Active" && type == "b" &&
               sd_bus_message_read(properties, "v", "b", &active) > 0;
    });
    if (active >= 0) {
        tell(active != 0);
    }
}

void SessionWatch::tell(bool active) const {
    const auto changed = changed_; // it may drop this
    changed(session_ == none ? "" : session_, active);
}

} // namespace AmbrelKit::Linux
