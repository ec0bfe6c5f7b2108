#include "tools/ambrel/Collecting/ScriptRecorder.hpp"

#include "AmbrelKit/Simulated/Replay/ScriptWriter.hpp"

#include <algorithm>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;
using namespace AmbrelKit::Simulated;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

/// Of the interfaces that a script's kit knows, one without which the address would not count. What
/// the interface is called here is not the kit's to know either.
constexpr const char* interfaceName = "en0";

} // namespace

ScriptRecorder::ScriptRecorder(std::vector<std::string> bonjourServices,
                               std::shared_ptr<AmbrelSDKDelegate> host)
    : host_(std::move(host)), bonjourServices_(std::move(bonjourServices)) {}

std::string ScriptRecorder::end() {
    write(clock_.now(), ScriptActions::End());
    return scriptLine(ScriptHeader{.platform = {.start = clock_.start(), .identifiers = {}},
                                   .bonjourServices = bonjourServices_}) +
           steps_;
}

void ScriptRecorder::bluetoothDidUpdateState(BluetoothManagerState state) {
    record(ScriptActions::BluetoothState{state});
}

void ScriptRecorder::bluetoothDidDiscover(const Peripheral& peripheral,
                                          const JSONDictionary& /*advertisementData*/,
                                          int /*rssi*/) {
    record(ScriptActions::BluetoothDiscover{peripheral});
}

void ScriptRecorder::bonjourDidFind(const NetService& service) {
    if (std::ranges::find(bonjourServices_, service.type()) == bonjourServices_.end()) {
        bonjourServices_.push_back(service.type());
    }
    record(ScriptActions::BonjourFound{service.type(), service.name()});
}

void ScriptRecorder::bonjourDidResolve(const NetService& service) {
    record(ScriptActions::BonjourResolved{
        service.type(), service.name(), {service.addresses(), service.TXTRecordData()}});
}

void ScriptRecorder::locationDidChangeAuthorization(LocationAuthorizationStatus status) {
    record(ScriptActions::LocationAuthorization{status});
}

void ScriptRecorder::locationDidUpdate(const std::vector<LocationFix>& fixes) {
    record(ScriptActions::LocationUpdate{fixes});
}

void ScriptRecorder::locationDidFail(const std::string& error) {
    record(ScriptActions::LocationFail{error});
}

void ScriptRecorder::timerDidSchedule() {
    write(clock_.now(), ScriptActions::Clock{clock_.timerIsScheduled()});
}

void ScriptRecorder::timerWillFire() {
    clock_.tickRuns();
    recordStatuses(clock_.now() - 1ns);
}

void ScriptRecorder::networkDidAnswer(const std::optional<std::string>& addressIPv4,
                                      const std::vector<Linux::JoinedNetwork>& joined) {
    ScriptActions::NetworkInterfaces interfaces;
    if (addressIPv4) {
        interfaces.interfaces.push_back({.name = interfaceName, .address = addressIPv4});
    }
    ScriptActions::NetworkCaptive captive{.supported = JSONValue::array(), .info = {}};
    for (const Linux::JoinedNetwork& network : joined) {
        JSONValue info = JSONValue::object();
        if (network.ssid) {
            info["SSID"] = *network.ssid;
        }
        if (network.bssid) {
            info["BSSID"] = *network.bssid;
        }
        captive.supported.push_back(network.interface);
        captive.info[network.interface] = std::move(info);
    }
    // It was so before the tick that asks.
    const nanoseconds at = clock_.now() - 1ns;
    if (interfaces_ != interfaces) {
        interfaces_ = interfaces;
        write(at, std::move(interfaces));
    }
    if (captive_ != captive) {
        captive_ = captive;
        write(at, std::move(captive));
    }
}

void ScriptRecorder::record(ScriptAction action) {
    clock_.reportComes();
    recordStatuses(clock_.now());
    write(clock_.now(), std::move(action));
}

void ScriptRecorder::recordStatuses(nanoseconds at) {
    const ScriptActions::Statuses statuses{
        {{StatusQuery::bluetoothSetting, host_->bluetoothSettingStatus()},
         {StatusQuery::bluetoothPermission, host_->bluetoothPermissionStatus()},
         {StatusQuery::locationSetting, host_->locationSettingStatus()},
         {StatusQuery::locationPermission, host_->locationPermissionStatus()},
         {StatusQuery::locationPrecisePermission, host_->locationPrecisePermissionStatus()},
         {StatusQuery::networkSetting, host_->networkSettingStatus()},
         {StatusQuery::networkPermission, host_->networkPermissionStatus()}}};
    if (statuses_ != statuses) {
        statuses_ = statuses;
        write(at, statuses);
    }
}

void ScriptRecorder::write(nanoseconds at, ScriptAction action) {
    steps_ += "\n" + scriptLine(ScriptStep{.line = 0, .at = at, .action = std::move(action)});
}

} // namespace Ambrel
