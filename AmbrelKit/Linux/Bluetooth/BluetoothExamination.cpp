#include "AmbrelKit/Linux/Bluetooth/BlueZObjects.hpp"
#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace AmbrelKit::Linux {

namespace {

constexpr const char* blueZName = "org.bluez";

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

Finding judged(const BlueZObjects& objects) {
    if (objects.areRefused()) {
        return fails("this user may not use BlueZ",
                     "allow it in /etc/dbus-1/system.d (Debian: adduser USER bluetooth), then "
                     "log in again");
    }
    const auto name = [](const auto& adapter) {
        return adapter.first.substr(adapter.first.rfind('/') + 1);
    };
    const auto& adapters = objects.adapters();
    const auto powered =
        std::ranges::find_if(adapters, [](const auto& adapter) { return adapter.second.powered; });
    if (powered != adapters.end()) {
        return works("BlueZ, " + name(*powered));
    }
    return adapters.empty() ? failsWithoutAdapter() : failsSwitchedOff(name(*adapters.begin()));
}

/// Waits until BlueZ has told of its adapters, for as long as a daemon may take.
struct Wait {
    std::shared_ptr<BlueZObjects> objects;
    std::shared_ptr<Deadline> patience;

    static std::shared_ptr<Wait> start(const Surroundings& surroundings, const Report& report) {
        const auto wait = std::make_shared<Wait>();
        const auto end = [report](Wait& self, const Finding& found) {
            self.patience.reset();
            self.objects.reset();
            report(found);
        };
        wait->patience = surroundings.loop->deadline(
            weakly(wait, [end](Wait& self) { end(self, failsWithoutAnswer("bluetooth")); }));
        wait->patience->arm(std::chrono::steady_clock::now() + daemonPatience);
        wait->objects = BlueZObjects::follow(
            *surroundings.loop, surroundings.bus, blueZName,
            {.adaptersChanged = weakly(wait, [end](Wait& self, std::string_view /*discovery*/) {
                 end(self, judged(*self.objects));
             })});
        return wait;
    }
};

} // namespace

Examination examineBluetooth(const Surroundings& surroundings, const Report& report) {
    if (!surroundings.busAnswers) {
        report(failsWithoutBus(surroundings));
    } else if (surroundings.running.contains(blueZName)) {
        return Wait::start(surroundings, report);
    } else if (surroundings.startable.contains(blueZName)) {
        report(fails("bluetoothd is not running", "systemctl enable --now bluetooth"));
    } else {
        report(fails("BlueZ is not installed", "apt install bluez"));
    }
    return nullptr;
}

} // namespace AmbrelKit::Linux
