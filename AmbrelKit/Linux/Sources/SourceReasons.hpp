#ifndef AMBRELKIT_LINUX_SOURCES_SOURCEREASONS_HPP
#define AMBRELKIT_LINUX_SOURCES_SOURCEREASONS_HPP

#include "AmbrelKit/Platform/SourceReport.hpp"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace AmbrelKit::Linux {

/// Why a source of this machine does not listen, or not as it could: the one table of them is in
/// SourceReasons.cpp, with the state, the code and the texts of each. Sources and examinations take
/// them from there. The braces name what a reason wants to be told.
enum class SourceReason : std::uint8_t {
    noBus,
    busSilent,
    busCloses,
    daemonSilent, ///< {its unit}
    noDescriptors,

    bluetoothLeftOut,
    blueZNotInstalled,
    blueZNotRunning,
    blueZRefuses,
    blueZFails, ///< {what it says}
    noAdapter,
    adapterUnused,
    discoveryFails,           ///< {adapter, what BlueZ says}
    adapterOff,               ///< {adapter}
    adapterBlockedBySoftware, ///< {adapter}
    adapterBlockedByHardware, ///< {adapter}

    servicesLeftOut,
    avahiNotRunning,
    avahiStopped,
    avahiRefuses,
    noAvahiLibrary,
    avahiCacheFull,
    noNetlinkForServices,
    noMulticastInterface,
    mdnsPortTaken,

    locationLeftOut,
    geoClueLeftOut,
    gpsdLeftOut,
    geoClueNotInstalled,
    geoClueCannotStart,
    geoClueStopped,
    geoClueFails,     ///< {what it says}
    geoClueForbidden, ///< by the bus
    geoClueRefuses,   ///< {what it says, the desktop id}
    geoClueWithoutAgent,
    geoClueAsks,
    geoClueFindsNothing,
    gpsdAbsent, ///< {address and port}
    gpsdWithoutFix,

    noAddress,
    addressOfBridge,      ///< {interface}
    addressOfAccessPoint, ///< {interface}
    addressesNotTold,     ///< {the system's error}

    wifiLeftOut,
    noWifiAdapter,
    wifiBlockedBySoftware, ///< {interface}
    wifiBlockedByHardware, ///< {interface}
    noNetlinkLibrary,
    noNetlinkForWifi,

    noLogind,
    noSession,
    inhibitorRefused,
};

/// The condition of a source for this reason, told what it wants to be told.
[[nodiscard]] SourceCondition because(SourceReason reason,
                                      std::initializer_list<std::string_view> what = {});

/// `otherwise`, unless this error of the system's says that there are no descriptors left.
[[nodiscard]] SourceReason reasonFor(int error, SourceReason otherwise);

/// Of a source that listens by these means.
[[nodiscard]] inline SourceCondition listening(std::string means) {
    return {.state = SourceState::listening, .means = std::move(means)};
}

/// Of one that waits for an answer, and for this reason would not get it.
[[nodiscard]] inline SourceCondition starting(SourceReason unless,
                                              std::initializer_list<std::string_view> what = {}) {
    auto condition = because(unless, what);
    condition.state = SourceState::starting;
    return condition;
}

/// Of one that listens by these means, and could do better.
[[nodiscard]] SourceCondition listening(std::string means, SourceReason although,
                                        std::initializer_list<std::string_view> what = {});

} // namespace AmbrelKit::Linux

#endif
