#ifndef AMBRELKIT_LINUX_NETWORK_NETWORKDETAILS_HPP
#define AMBRELKIT_LINUX_NETWORK_NETWORKDETAILS_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace AmbrelKit::Linux {

/// The name of the interface that has this IPv4 address (in dotted decimal), of several the one
/// whose address a collection would take; nothing when none has it. The kernel's answer of now: no
/// privilege is needed, and nothing waits. On any thread, in callbacks too.
[[nodiscard]] AMBRELKIT_API std::optional<std::string>
interfaceWithAddress(const std::string& addressIPv4);

/// The frequency, in MHz, of the access point that the interface of this name is joined to; nothing
/// when there is none, or Wi-Fi was left out of the build. On any thread likewise.
[[nodiscard]] AMBRELKIT_API std::optional<std::uint32_t>
joinedFrequency(const std::string& interface);

} // namespace AmbrelKit::Linux

#endif
