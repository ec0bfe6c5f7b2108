#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_MULTICASTNETWORK_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_MULTICASTNETWORK_HPP

#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"

#include <optional>

namespace AmbrelKit::Linux {

// What multicast DNS needs of the kernel, as it is at the time of the call.

/// Whether there is an interface on which others could hear and answer. Absent when the kernel does
/// not tell.
std::optional<bool> networkDoesMulticast();

/// What keeps Avahi's stack from getting its sockets in this process. One that gets some but not
/// the one by which the kernel tells of interfaces ends the process.
std::optional<SourceReason> missingSockets();

/// What keeps that stack from finding anything, or nothing: where it listens, or could.
std::optional<SourceReason> embeddedStackLacks();

} // namespace AmbrelKit::Linux

#endif
