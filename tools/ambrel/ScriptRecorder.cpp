#include "tools/ambrel/ScriptRecorder.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

using ClockFunction = decltype(Linux::ProcessServices::currentDate);

constexpr nanoseconds tickInterval = 1s;

/// Of the interfaces that a script's kit knows, one without which the address would not count. What
/// the interface is called here is not the kit's to know either.
constexpr const char* interfaceName = "en0";

/// The shortest decimal text of a double is exact here: a script spans minutes.
JSONValue seconds(nanoseconds time) { return static_cast<double>(time.count()) / 1e9; }

/// A point in time to the microsecond below, as far as a double reaches: the second it lies in
/// stays.
JSONValue seconds(std::chrono::system_clock::time_point time) {
    const auto microseconds =
        std::chrono::floor<std::chrono::microseconds>(time.time_since_epoch());
    return static_cast<double>(microseconds.count()) / 1e6;
}

JSONValue coordinate(double degrees) {
    if (std::isfinite(degrees)) {
        return degrees;
    }
    return std::isnan(degrees) ? "nan" : degrees > 0 ? "inf" : "-inf";
}

std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4U];
        text += digits[value & 0x0FU];
    }
    return text;
}

JSONValue nameOf(AmbrelPermissionStatus status) {
    switch (status) {
    case AmbrelPermissionStatus::unknown:
        return "unknown";
    case AmbrelPermissionStatus::granted:
        return "granted";
    case AmbrelPermissionStatus::denied:
        return "denied";
    }
    return static_cast<std::int64_t>(status);
}

JSONValue nameOf(const NetService& service) {
    return {{"type", service.type()}, {"name", service.name()}};
}

/// Makes this the clock of the process's kits and returns the one before.
ClockFunction exchangeClock(ClockFunction clock) {
    auto services = Linux::ProcessServices::current();
    std::swap(services.currentDate, clock);
    services.install();
    return clock;
}

} // namespace

ScriptRecorder::ScriptRecorder(const std::vector<std::string>& bonjourServices,
                               std::shared_ptr<AmbrelSDKDelegate> host, Write write)
    : host_(std::move(host)), write_(std::move(write)),
      start_(std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now())),
      nextTick_(tickInterval) {
    clockBefore_ = exchangeClock([this] { return start_ + now_ + ahead_; });
    const JSONValue header{
        {"ambrelReplay", 1}, {"start", seconds(start_)}, {"bonjourServices", bonjourServices}};
    write_(header.dump());
}

ScriptRecorder::~ScriptRecorder() { exchangeClock(std::move(clockBefore_)); }

void ScriptRecorder::end() { write(now_, "end", true); }

void ScriptRecorder::bluetoothDidUpdateState(BluetoothManagerState state) {
    record("bluetooth", {{"state", static_cast<int>(state)}});
}

void ScriptRecorder::bluetoothDidDiscover(const Peripheral& peripheral) {
    JSONValue discovered{{"identifier", peripheral.identifier.text()}};
    if (peripheral.name) {
        discovered["name"] = *peripheral.name;
    }
    record("bluetooth", {{"discover", std::move(discovered)}});
}

void ScriptRecorder::bonjourDidFind(const NetService& service) {
    record("bonjour", {{"found", nameOf(service)}});
}

void ScriptRecorder::bonjourDidResolve(const NetService& service) {
    JSONValue resolved = nameOf(service);
    JSONValue& addresses = resolved["addresses"];
    if (const auto known = service.addresses()) {
        addresses = JSONValue::array();
        for (const std::string& address : *known) {
            addresses.push_back(hexadecimal(address));
        }
    }
    if (const auto txt = service.TXTRecordData()) {
        resolved["txt"] = hexadecimal(*txt);
    }
    record("bonjour", {{"resolved", std::move(resolved)}});
}

void ScriptRecorder::locationDidChangeAuthorization(LocationAuthorizationStatus status) {
    record("location", {{"authorization", static_cast<int>(status)}});
}

void ScriptRecorder::locationDidUpdate(const std::vector<LocationFix>& fixes) {
    JSONValue update = JSONValue::array();
    for (const LocationFix& fix : fixes) {
        update.push_back({{"latitude", coordinate(fix.coordinate.latitude)},
                          {"longitude", coordinate(fix.coordinate.longitude)},
                          {"timestamp", seconds(fix.timestamp)}});
    }
    record("location", {{"update", std::move(update)}});
}

void ScriptRecorder::locationDidFail(const std::string& error) {
    record("location", {{"fail", error}});
}

void ScriptRecorder::timerDidSchedule() {
    scheduled_ = Clock::now();
    // A record is a little older than its timer, which is why ten ticks complete it.
    ahead_ = 1us;
    write(now_, "clock", {{"offset", seconds(ahead_)}});
}

void ScriptRecorder::timerWillFire() {
    // It may be late by whole intervals when the process was held up.
    const nanoseconds due = std::max(nextTick_, elapsed() / tickInterval * tickInterval);
    recordStatuses(due - 1ns);
    now_ = due;
    nextTick_ = due + tickInterval;
}

void ScriptRecorder::networkDidAnswer(const std::optional<std::string>& addressIPv4,
                                      const std::vector<Linux::JoinedNetwork>& joined) {
    JSONValue interfaces = JSONValue::array();
    if (addressIPv4) {
        interfaces.push_back({{"name", interfaceName}, {"address", *addressIPv4}});
    }
    JSONValue captive{{"supported", JSONValue::array()}, {"info", JSONValue::object()}};
    for (const Linux::JoinedNetwork& network : joined) {
        JSONValue info = JSONValue::object();
        if (network.ssid) {
            info["SSID"] = *network.ssid;
        }
        if (network.bssid) {
            info["BSSID"] = *network.bssid;
        }
        captive["supported"].push_back(network.interface);
        captive["info"][network.interface] = std::move(info);
    }
    // It was so before the tick that asks.
    const nanoseconds at = now_ - 1ns;
    if (interfaces_ != interfaces) {
        interfaces_ = std::move(interfaces);
        write(at, "network", {{"interfaces", interfaces_}});
    }
    if (captive_ != captive) {
        captive_ = std::move(captive);
        write(at, "network", {{"captive", captive_}});
    }
}

nanoseconds ScriptRecorder::elapsed() const {
    return scheduled_ ? Clock::now() - *scheduled_ : nanoseconds(0);
}

void ScriptRecorder::record(std::string_view what, const JSONValue& value) {
    now_ = std::max(now_, std::min(elapsed(), nextTick_ - 1ns));
    recordStatuses(now_);
    write(now_, what, value);
}

/// The kit asks the host while it handles a step or a tick, so the answers come ahead of it.
void ScriptRecorder::recordStatuses(nanoseconds at) {
    JSONValue statuses{
        {"bluetoothSettingStatus", nameOf(host_->bluetoothSettingStatus())},
        {"bluetoothPermissionStatus", nameOf(host_->bluetoothPermissionStatus())},
        {"locationSettingStatus", nameOf(host_->locationSettingStatus())},
        {"locationPermissionStatus", nameOf(host_->locationPermissionStatus())},
        {"locationPrecisePermissionStatus", nameOf(host_->locationPrecisePermissionStatus())},
        {"networkSettingStatus", nameOf(host_->networkSettingStatus())},
        {"networkPermissionStatus", nameOf(host_->networkPermissionStatus())}};
    if (statuses_ != statuses) {
        statuses_ = std::move(statuses);
        write(at, "statuses", statuses_);
    }
}

void ScriptRecorder::write(nanoseconds at, std::string_view what, const JSONValue& value) {
    const JSONValue step{{"at", seconds(at)}, {std::string(what), value}};
    // Text of the platform's own making is UTF-8; what some device chose may not be.
    write_(step.dump(-1, ' ', false, JSONValue::error_handler_t::replace));
}

} // namespace Ambrel
