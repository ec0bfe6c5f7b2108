// The least that a program can spend on BlueZ's signals: it subscribes, starts a discovery, and
// decodes of each signal what the kit decodes. The measure of the kit's own cost.

#include "bench/Signal.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

namespace {

std::uint64_t signals = 0;
AmbrelKit::Bench::PlainReader reader;

int changed(sd_bus_message* message, void* /*data*/, sd_bus_error* /*error*/) {
    const char* interface = nullptr;
    sd_bus_message_read_basic(message, 's', &interface);
    if (std::strcmp(interface, "org.bluez.Device1") == 0) {
        reader.readProperties(message);
        ++signals;
    }
    return 0;
}

int added(sd_bus_message* message, void* /*data*/, sd_bus_error* /*error*/) {
    const char* path = nullptr;
    const char* interface = nullptr;
    sd_bus_message_read_basic(message, 'o', &path);
    sd_bus_message_enter_container(message, 'a', "{sa{sv}}");
    while (sd_bus_message_enter_container(message, 'e', "sa{sv}") > 0) {
        sd_bus_message_read_basic(message, 's', &interface);
        if (std::strcmp(interface, "org.bluez.Device1") == 0) {
            reader.readProperties(message);
        } else {
            sd_bus_message_skip(message, "a{sv}");
        }
        sd_bus_message_exit_container(message);
    }
    ++signals;
    return 0;
}

} // namespace

/// BluetoothFloor SECONDS: prints how many signals came.
int main(int count, char** arguments) {
    const auto seconds = static_cast<std::uint64_t>(count > 1 ? std::atoi(arguments[1]) : 10);
    sd_event* loop = nullptr;
    sd_bus* bus = nullptr;
    if (sd_event_default(&loop) < 0 || sd_bus_open_system(&bus) < 0) {
        return 1;
    }
    sd_bus_match_signal(bus, nullptr, "org.bluez", nullptr, "org.freedesktop.DBus.Properties",
                        "PropertiesChanged", &changed, nullptr);
    sd_bus_match_signal(bus, nullptr, "org.bluez", nullptr, "org.freedesktop.DBus.ObjectManager",
                        "InterfacesAdded", &added, nullptr);
    sd_bus_attach_event(bus, loop, 0);
    sd_bus_call_method(bus, "org.bluez", "/org/bluez/hci0", "org.bluez.Adapter1", "StartDiscovery",
                       nullptr, nullptr, nullptr);
    sd_event_add_time_relative(
        loop, nullptr, CLOCK_MONOTONIC, seconds * 1'000'000, 1,
        [](sd_event_source* source, std::uint64_t, void*) {
            return sd_event_exit(sd_event_source_get_event(source), 0);
        },
        nullptr);
    sd_event_loop(loop);
    std::printf("%llu\n", static_cast<unsigned long long>(signals));
    return reader.content() == 0 ? 1 : 0; // it was read
}
