#ifndef AMBRELKIT_LINUX_NETWORK_WIRELESS_HPP
#define AMBRELKIT_LINUX_NETWORK_WIRELESS_HPP

#include "AmbrelKit/Linux/Network/Association.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

// They ask the kernel over a connection that the calling thread keeps, and do not wait: what the
// kernel does not answer at once counts as nothing. No privilege is needed.

/// The names of the interfaces by which this machine joins Wi-Fi networks, in the order of
/// their indexes. Empty without a radio, or without Wi-Fi in this build.
std::vector<std::string> wirelessStations();

/// How Wi-Fi fares while these stations, all that there are, are joined to no network: they listen,
/// or are blocked, or there is none.
SourceCondition withoutNetwork(const std::vector<std::string>& stations);

/// Whether others join this machine by the interface of this name.
bool isAccessPoint(const std::string& name);

/// The network that an interface is joined to now; nothing when there is none, or no such
/// interface.
std::optional<Association> association(const std::string& interface);

} // namespace AmbrelKit::Linux

#endif
