#ifndef AMBREL_SCRIPTRECORDER_HPP
#define AMBREL_SCRIPTRECORDER_HPP

#include "tools/ambrel/Collecting/ObservedPlatform.hpp"
#include "tools/ambrel/Collecting/RecordingClock.hpp"

#include "AmbrelKit/Simulated/Replay/Script.hpp"

#include <AmbrelKit/AmbrelSDKDelegate.hpp>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Ambrel {

/// Writes what the platform reports during one collection as a script of `ambrel replay`, whose run
/// delivers the same dictionary.
class ScriptRecorder final : public PlatformObserver {
public:
    /// `bonjourServices` is what the kit looks for, and `host` its delegate, whose answers are
    /// recorded.
    ScriptRecorder(std::vector<std::string> bonjourServices,
                   std::shared_ptr<AmbrelKit::AmbrelSDKDelegate> host);

    /// The host is about to call the kit.
    void hostCalls(AmbrelKit::Simulated::HostCall call) { record(call); }
    /// The whole script, but for the end of its last line. Nothing is recorded any more.
    [[nodiscard]] std::string end();

    void bluetoothDidUpdateState(AmbrelKit::BluetoothManagerState state) override;
    void bluetoothDidDiscover(const AmbrelKit::Peripheral& peripheral,
                              const AmbrelKit::JSONDictionary& advertisementData,
                              int rssi) override;
    void bonjourDidFind(const AmbrelKit::NetService& service) override;
    void bonjourDidResolve(const AmbrelKit::NetService& service) override;
    void locationDidChangeAuthorization(AmbrelKit::LocationAuthorizationStatus status) override;
    void locationDidUpdate(const std::vector<AmbrelKit::LocationFix>& fixes) override;
    void locationDidFail(const std::string& error) override;
    void timerDidSchedule() override;
    void timerWillFire() override;
    void networkDidAnswer(const std::optional<std::string>& addressIPv4,
                          const std::vector<AmbrelKit::Linux::JoinedNetwork>& joined) override;

private:
    /// The kit handles it from now on.
    void record(AmbrelKit::Simulated::ScriptAction action);
    /// The kit asks the host while it handles a step or a tick, so the answers come ahead of it.
    void recordStatuses(std::chrono::nanoseconds at);
    void write(std::chrono::nanoseconds at, AmbrelKit::Simulated::ScriptAction action);

    std::shared_ptr<AmbrelKit::AmbrelSDKDelegate> host_;
    /// Those that are looked for, then those that services were found to have besides: a script's
    /// kit hears of a service only when it looks for its very type.
    std::vector<std::string> bonjourServices_;
    std::string steps_; ///< a line each, begun with its break
    RecordingClock clock_;
    // As written last.
    AmbrelKit::Simulated::ScriptActions::Statuses statuses_;
    AmbrelKit::Simulated::ScriptActions::NetworkInterfaces interfaces_;
    AmbrelKit::Simulated::ScriptActions::NetworkCaptive captive_;
};

} // namespace Ambrel

#endif
