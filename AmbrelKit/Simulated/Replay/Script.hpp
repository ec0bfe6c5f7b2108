#ifndef AMBRELKIT_SIMULATED_REPLAY_SCRIPT_HPP
#define AMBRELKIT_SIMULATED_REPLAY_SCRIPT_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Simulated/Host.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace AmbrelKit::Simulated {

/// A script is wrong at a line. The message says what is wrong, in one line.
class AMBRELKIT_API ScriptError : public std::runtime_error {
public:
    /// `line` counts from 1.
    ScriptError(std::size_t line, const std::string& reason)
        : std::runtime_error(reason), line_(line) {}

    /// Counted from 1.
    [[nodiscard]] std::size_t line() const { return line_; }

private:
    std::size_t line_;
};

/// A script's first line.
struct ScriptHeader {
    /// How its platform begins.
    PlatformSettings platform;
    /// What the kit is made with.
    std::optional<std::vector<std::string>> bonjourServices;
};

/// Something that the host does.
struct HostCall {
    /// What is called: the facade's operations by their names, and what a script has its host do
    /// beside.
    enum class Operation : std::uint8_t {
        startScanning,     ///< as the facade's
        startScanningOnce, ///< as the facade's
        completeScanning,  ///< as the facade's
        stopScanning,      ///< as the facade's
        automaticMode,     ///< `automaticModeForNotificationAndBackgroundTask`
        setThreshold,      ///< `setAmbrelTimeThreshold`
        attachDelegate,    ///< the facade has the delegate
        detachDelegate,    ///< the facade has none
        releaseDelegate,   ///< the delegate is gone
        release,           ///< the facade is let go of
        create,            ///< there is a new facade
    };

    /// Which one.
    Operation operation = Operation::startScanning;
    std::int64_t threshold = 0; ///< of `setThreshold`, in seconds
};

/// The actions of a step, one type each.
namespace ScriptActions {

/// `onDelivery`: done inside the next delivery, once.
struct OnDelivery {
    /// In this order.
    std::vector<HostCall> calls;
};
/// `statuses`: what the delegate answers from now on.
struct Statuses {
    /// The questions with their answers.
    std::vector<std::pair<StatusQuery, AmbrelPermissionStatus>> answers;
    /// Memberwise.
    bool operator==(const Statuses&) const = default;
};
/// `clock`
struct Clock {
    /// How far the wall clock is ahead of virtual time.
    std::chrono::nanoseconds offset;
};
/// `bluetooth` with `state`
struct BluetoothState {
    /// What the manager reports.
    BluetoothManagerState state;
};
/// `bluetooth` with `discover`
struct BluetoothDiscover {
    /// Which one was seen.
    Peripheral peripheral;
};
/// `bonjour` with `found`
struct BonjourFound {
    /// With its trailing dot.
    std::string type;
    /// Of the instance.
    std::string name;
};
/// `bonjour` with `resolved`
struct BonjourResolved {
    /// With its trailing dot.
    std::string type;
    /// Of the instance.
    std::string name;
    /// What it resolves to.
    ServiceRecords records;
};
/// `location` with `authorization`
struct LocationAuthorization {
    /// What the manager reports.
    LocationAuthorizationStatus status;
};
/// `location` with `update`
struct LocationUpdate {
    /// In this order.
    std::vector<LocationFix> fixes;
};
/// `location` with `fail`
struct LocationFail {
    /// For people.
    std::string error;
};
/// `network` with `interfaces`
struct NetworkInterfaces {
    /// All that there are from now on.
    std::vector<InterfaceAddress> interfaces;
    /// Memberwise.
    bool operator==(const NetworkInterfaces&) const = default;
};
/// `network` with `captive`
struct NetworkCaptive {
    /// A list of names, as JSON, or null.
    JSONValue supported;
    /// By name: "SSID" and "BSSID".
    JSONDictionary info;
    /// Memberwise.
    bool operator==(const NetworkCaptive&) const = default;
};
/// `application` with `didBecomeActive`
struct DidBecomeActive {};
/// `application` with `expire`
struct Expire {
    /// Counted from 1.
    BackgroundTaskIdentifier task;
};
/// `end`: the script ends here.
struct End {};

} // namespace ScriptActions

/// Any step.
using ScriptAction =
    std::variant<HostCall, ScriptActions::OnDelivery, ScriptActions::Statuses, ScriptActions::Clock,
                 ScriptActions::BluetoothState, ScriptActions::BluetoothDiscover,
                 ScriptActions::BonjourFound, ScriptActions::BonjourResolved,
                 ScriptActions::LocationAuthorization, ScriptActions::LocationUpdate,
                 ScriptActions::LocationFail, ScriptActions::NetworkInterfaces,
                 ScriptActions::NetworkCaptive, ScriptActions::DidBecomeActive,
                 ScriptActions::Expire, ScriptActions::End>;

/// Any other line of a script.
struct ScriptStep {
    /// Of the script, counted from 1.
    std::size_t line = 0;
    /// Since the start; never before the step that stands before it.
    std::chrono::nanoseconds at{};
    /// What is done then.
    ScriptAction action;
};

} // namespace AmbrelKit::Simulated

#endif
