#ifndef AMBRELKIT_LINUX_NETWORK_INTERFACES_HPP
#define AMBRELKIT_LINUX_NETWORK_INTERFACES_HPP

#include "AmbrelKit/Linux/Network/PrimaryAddress.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

struct AddressAnswer {
    std::optional<std::string> address; ///< in dotted decimal; nothing when no interface qualifies
    SourceCondition condition;          ///< listening by its interface, or why there is none
};

/// The interfaces of the network namespace in which this was made. What the kernel is asked by is
/// opened then and kept: an address is not lost sight of because no descriptor is left. Asks the
/// kernel only, and does not wait.
class Interfaces {
public:
    Interfaces();

    /// This machine's IPv4 address, chosen as `primaryAddress` says.
    [[nodiscard]] AddressAnswer addressIPv4();

    /// Every IPv4 address. Nothing, with the reason in `errno`, when the kernel cannot be asked.
    [[nodiscard]] std::optional<std::vector<AddressEntry>> addresses();

private:
    void openWhatIsMissing();
    [[nodiscard]] LinkKind kind(const std::string& interface) const;
    [[nodiscard]] std::string driver(const std::string& interface) const;

    Descriptor socket_;
    Descriptor routes_;
};

} // namespace AmbrelKit::Linux

#endif
