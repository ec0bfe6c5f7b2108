#include "AmbrelKit/Linux/Bluetooth/Properties.hpp"
#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"

#include <filesystem>
#include <fstream>
#include <map>
#include <system_error>

namespace AmbrelKit::Linux {

namespace {

int numberIn(const std::filesystem::path& file) {
    int number = 0;
    std::ifstream(file) >> number;
    return number;
}

enum class Block { none, software, hardware };

Block radioSwitch() {
    Block block = Block::none;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/rfkill", error)) {
        std::string type;
        std::ifstream(entry.path() / "type") >> type;
        if (type != "bluetooth") {
            continue;
        }
        if (numberIn(entry.path() / "hard") != 0) {
            return Block::hardware;
        }
        if (numberIn(entry.path() / "soft") != 0) {
            block = Block::software;
        }
    }
    return block;
}

Finding failsWithoutAdapter() {
    if (kernelHas("bluetooth")) {
        return fails("the kernel has a Bluetooth adapter that bluetoothd does not use",
                     "systemctl restart bluetooth (journalctl -u bluetooth says why)");
    }
    return fails("there is no Bluetooth adapter",
                 "plug one in, or let this virtual machine or container have the host's");
}

Finding failsSwitchedOff(const std::string& adapter) {
    switch (radioSwitch()) {
    case Block::hardware:
        return fails("a switch or key of this device blocks " + adapter, "turn it on there");
    case Block::software:
        return fails(adapter + " is blocked by software", "rfkill unblock bluetooth");
    case Block::none:
        break;
    }
    return fails(adapter + " is switched off", "bluetoothctl power on");
}

Finding judgedObjects(sd_bus_message* objects) {
    if (objects == nullptr) {
        return failsWithoutAnswer("bluetooth");
    }
    if (sd_bus_message_is_method_error(objects, SD_BUS_ERROR_ACCESS_DENIED) > 0) {
        return fails("this user may not use BlueZ",
                     "allow it in /etc/dbus-1/system.d (Debian: adduser USER bluetooth), then "
                     "log in again");
    }
    std::map<std::string, bool> adapters;
    readObjects(objects, [&](std::string_view path, const ObjectProperties& object) {
        if (object.adapter) {
            const auto name = path.substr(path.rfind('/') + 1);
            adapters[std::string(name)] = object.adapter->powered.value_or(false);
        }
    });
    for (const auto& [name, powered] : adapters) {
        if (powered) {
            return works("BlueZ, " + name);
        }
    }
    return adapters.empty() ? failsWithoutAdapter() : failsSwitchedOff(adapters.begin()->first);
}

} // namespace

Examination examineBluetooth(const Surroundings& surroundings, const Report& report) {
    constexpr const char* name = "org.bluez";
    if (!surroundings.busAnswers) {
        report(failsWithoutBus());
    } else if (surroundings.running.contains(name)) {
        return askDaemon(surroundings,
                         {name, "/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects"}, {},
                         [report](sd_bus_message* reply) { report(judgedObjects(reply)); });
    } else if (surroundings.startable.contains(name)) {
        report(fails("bluetoothd is not running", "systemctl enable --now bluetooth"));
    } else {
        report(fails("BlueZ is not installed", "apt install bluez"));
    }
    return nullptr;
}

} // namespace AmbrelKit::Linux
