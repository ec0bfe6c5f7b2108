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
    ScriptError(std::size_t line, const std::string& reason)
        : std::runtime_error(reason), line_(line) {}

    /// Counted from 1.
    [[nodiscard]] std::size_t line() const { return line_; }

private:
    std::size_t line_;
};

/// A script's first line.
struct ScriptHeader {
    PlatformSettings platform;
    std::optional<std::vector<std::string>> bonjourServices;
};

/// Something that the host does.
struct HostCall {
    enum class Operation : std::uint8_t {
        startScanning,
        startScanningOnce,
        completeScanning,
        stopScanning,
        automaticMode,
        setThreshold,
        attachDelegate,
        detachDelegate,
        releaseDelegate,
        release,
        create,
    };

    Operation operation = Operation::startScanning;
    std::int64_t threshold = 0; ///< of `setThreshold`
};

/// The actions of a step, one type each.
namespace ScriptActions {

struct OnDelivery {
    std::vector<HostCall> calls;
};
struct Statuses {
    std::vector<std::pair<StatusQuery, AmbrelPermissionStatus>> answers;
    bool operator==(const Statuses&) const = default;
};
struct Clock {
    std::chrono::nanoseconds offset;
};
struct BluetoothState {
    BluetoothManagerState state;
};
struct BluetoothDiscover {
    Peripheral peripheral;
};
struct BonjourFound {
    std::string type;
    std::string name;
};
struct BonjourResolved {
    std::string type;
    std::string name;
    ServiceRecords records;
};
struct LocationAuthorization {
    LocationAuthorizationStatus status;
};
struct LocationUpdate {
    std::vector<LocationFix> fixes;
};
struct LocationFail {
    std::string error;
};
struct NetworkInterfaces {
    std::vector<InterfaceAddress> interfaces;
    bool operator==(const NetworkInterfaces&) const = default;
};
struct NetworkCaptive {
    JSONValue supported;
    JSONDictionary info;
    bool operator==(const NetworkCaptive&) const = default;
};
struct DidBecomeActive {};
struct Expire {
    BackgroundTaskIdentifier task;
};
struct End {};

} // namespace ScriptActions

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
    std::size_t line = 0;
    std::chrono::nanoseconds at{};
    ScriptAction action;
};

} // namespace AmbrelKit::Simulated

#endif
