#ifndef AMBRELKIT_SIMULATED_REPLAY_SCRIPTNAMES_HPP
#define AMBRELKIT_SIMULATED_REPLAY_SCRIPTNAMES_HPP

#include "AmbrelKit/Simulated/Replay/Script.hpp"

#include <array>
#include <cstdint>
#include <string_view>

namespace AmbrelKit::Simulated {

// What stands for a value in a script, both where it is read and where it is written.

template <class Value> struct Named {
    std::string_view name;
    Value value;
};

inline constexpr std::int64_t scriptVersion = 1;

inline constexpr std::array operationNames{
    Named<HostCall::Operation>{"startScanning", HostCall::Operation::startScanning},
    Named<HostCall::Operation>{"startScanningOnce", HostCall::Operation::startScanningOnce},
    Named<HostCall::Operation>{"completeScanning", HostCall::Operation::completeScanning},
    Named<HostCall::Operation>{"stopScanning", HostCall::Operation::stopScanning},
    Named<HostCall::Operation>{"automaticModeForNotificationAndBackgroundTask",
                               HostCall::Operation::automaticMode},
    Named<HostCall::Operation>{"release", HostCall::Operation::release},
    Named<HostCall::Operation>{"create", HostCall::Operation::create}};

inline constexpr std::array delegateNames{
    Named<HostCall::Operation>{"attached", HostCall::Operation::attachDelegate},
    Named<HostCall::Operation>{"detached", HostCall::Operation::detachDelegate},
    Named<HostCall::Operation>{"released", HostCall::Operation::releaseDelegate}};

/// Any other status is a whole number.
inline constexpr std::array statusNames{
    Named<AmbrelPermissionStatus>{"unknown", AmbrelPermissionStatus::unknown},
    Named<AmbrelPermissionStatus>{"granted", AmbrelPermissionStatus::granted},
    Named<AmbrelPermissionStatus>{"denied", AmbrelPermissionStatus::denied}};

} // namespace AmbrelKit::Simulated

#endif
