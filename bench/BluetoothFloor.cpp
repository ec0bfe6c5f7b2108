// The least that a program can spend on BlueZ's signals: it subscribes, starts a discovery, and
// parses each signal to the end. The measure of the kit's own cost.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

namespace {

std::uint64_t signals = 0; // what was read, so that reading it cannot be left out
std::uint64_t content = 0;

void readManufacturerData(sd_bus_message* message) {
    sd_bus_message_enter_container(message, 'v', "a{qv}");
    sd_bus_message_enter_container(message, 'a', "{qv}");
    while (sd_bus_message_enter_container(message, 'e', "qv") > 0) {
        std::uint16_t company = 0;
        const void* bytes = nullptr;
        std::size_t size = 0;
        sd_bus_message_read_basic(message, 'q', &company);
        sd_bus_message_enter_container(message, 'v', "ay");
        sd_bus_message_read_array(message, 'y', &bytes, &size);
        content += company + size;
        sd_bus_message_exit_container(message);
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    sd_bus_message_exit_container(message);
}

void readProperties(sd_bus_message* message) {
    sd_bus_message_enter_container(message, 'a', "{sv}");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        std::int16_t rssi = 0;
        sd_bus_message_read_basic(message, 's', &key);
        if (std::strcmp(key, "RSSI") == 0) {
            sd_bus_message_read(message, "v", "n", &rssi);
            content += static_cast<std::uint64_t>(-rssi);
        } else if (std::strcmp(key, "ManufacturerData") == 0) {
            readManufacturerData(message);
        } else {
            sd_bus_message_skip(message, "v");
        }
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
}

int changed(sd_bus_message* message, void* /*data*/, sd_bus_error* /*error*/) {
    const char* interface = nullptr;
    sd_bus_message_read_basic(message, 's', &interface);
    if (std::strcmp(interface, "org.bluez.Device1") == 0) {
        readProperties(message);
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
        readProperties(message);
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
    return content == 0 ? 1 : 0;
}
