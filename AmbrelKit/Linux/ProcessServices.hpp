#ifndef AMBRELKIT_LINUX_PROCESSSERVICES_HPP
#define AMBRELKIT_LINUX_PROCESSSERVICES_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

/// The Wi-Fi network that one interface is joined to.
struct JoinedNetwork {
    /// Its name, as the kernel has it: "wlan0".
    std::string interface;
    std::optional<std::string> ssid;  ///< UTF-8
    std::optional<std::string> bssid; ///< six pairs of hexadecimal digits joined by colons
};

/// What every kit of this process asks without an object to ask: the time, at each event, and the
/// state of the network, at each tick of a collection. A host that wants one of them otherwise,
/// or wants to see the answers, replaces it before it starts a collection, on the thread of its
/// kits. All three closures are set. They are called from the kit's callbacks, and may not wait;
/// what one throws leaves as a host's exception does (docs/threads-and-lifetimes.md).
struct ProcessServices {
    /// This machine's is the wall clock, steady while a collection runs.
    std::function<std::chrono::system_clock::time_point()> currentDate;
    /// This machine's IPv4 address in dotted decimal, or nothing.
    std::function<std::optional<std::string>()> addressIPv4;
    /// One entry for each interface that is joined to a Wi-Fi network.
    std::function<std::vector<JoinedNetwork>()> availableNetworks;

    /// What is used now: this machine's, unless something else has been installed.
    AMBRELKIT_API static ProcessServices current();

    /// Has these used until the handle is dropped; then those that were used before are again.
    /// Several handles may be dropped in any order, on the thread of the kits.
    [[nodiscard]] AMBRELKIT_API std::shared_ptr<void> install() const;
};

} // namespace AmbrelKit::Linux

#endif
