#ifndef AMBREL_SCRIPTRECORDER_HPP
#define AMBREL_SCRIPTRECORDER_HPP

#include "tools/ambrel/ObservedPlatform.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <AmbrelKit/AmbrelSDKDelegate.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel {

/// Writes what the platform reports during one collection as a script of `ambrel replay`.
///
/// That a script's run delivers the same dictionary takes more than the reports in their order: the
/// kit must read the same times in both, and each report must stay on its side of every tick. So
/// while it lives the recorder is the kit's clock too, and gives the time of the step or tick that
/// the kit is handling; a report that came after a tick was due but before it ran counts as before.
class ScriptRecorder final : public PlatformObserver {
public:
    using Write = std::function<void(const std::string& line)>;

    /// `host` is the kit's delegate, whose answers are recorded. Writes the first line.
    ScriptRecorder(const std::vector<std::string>& bonjourServices,
                   std::shared_ptr<AmbrelKit::AmbrelSDKDelegate> host, Write write);
    ScriptRecorder(const ScriptRecorder&) = delete;
    ScriptRecorder& operator=(const ScriptRecorder&) = delete;
    ~ScriptRecorder() override;

    /// The host is about to call the kit.
    void hostCalls(const AmbrelKit::JSONValue& operation) { record("host", operation); }
    /// The last line.
    void end();

    void bluetoothDidUpdateState(AmbrelKit::BluetoothManagerState state) override;
    void bluetoothDidDiscover(const AmbrelKit::Peripheral& peripheral) override;
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
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] std::chrono::nanoseconds elapsed() const;
    void record(std::string_view what, const AmbrelKit::JSONValue& value);
    void recordStatuses(std::chrono::nanoseconds at);
    void write(std::chrono::nanoseconds at, std::string_view what,
               const AmbrelKit::JSONValue& value);

    std::shared_ptr<AmbrelKit::AmbrelSDKDelegate> host_;
    Write write_;
    decltype(AmbrelKit::Linux::ProcessServices::currentDate) clockBefore_;
    std::chrono::system_clock::time_point start_;
    std::optional<Clock::time_point> scheduled_; ///< the timer, at 0 of the script's time
    std::chrono::nanoseconds now_{0};            ///< of the step or tick that is being handled
    std::chrono::nanoseconds ahead_{0};          ///< of `start_` and `now_`: the wall clock
    std::chrono::nanoseconds nextTick_;
    AmbrelKit::JSONValue statuses_;   ///< as written last
    AmbrelKit::JSONValue interfaces_; ///< as written last
    AmbrelKit::JSONValue captive_;    ///< as written last
};

} // namespace Ambrel

#endif
