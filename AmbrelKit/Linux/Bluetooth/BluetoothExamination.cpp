#include "AmbrelKit/Linux/Bluetooth/AdapterObstacle.hpp"
#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>

namespace AmbrelKit::Linux {

namespace {

constexpr const char* blueZName = "org.bluez";

Finding judged(const BlueZObjects& objects) {
    if (const auto obstacle = adapterObstacle(objects)) {
        return fails(obstacle->reason, obstacle->remedy);
    }
    const auto powered = std::ranges::find_if(
        objects.adapters(), [](const auto& adapter) { return adapter.second.powered; });
    return works("BlueZ, " + adapterName(powered->first));
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
