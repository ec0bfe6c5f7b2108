#ifndef AMBRELKIT_LINUX_NETWORK_INTERFACES_HPP
#define AMBRELKIT_LINUX_NETWORK_INTERFACES_HPP

#include <optional>
#include <string>

namespace AmbrelKit::Linux {

/// This machine's IPv4 address in dotted decimal, chosen as `primaryAddress` says among what the
/// system lists now; nothing when no interface qualifies. Asks the kernel only, and does not wait.
std::optional<std::string> addressIPv4();

} // namespace AmbrelKit::Linux

#endif
