// Wi-Fi was left out of this build.

#include "AmbrelKit/Linux/Network/Wireless.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <linux/wireless.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace AmbrelKit::Linux {

std::vector<std::string> wirelessStations() { return {}; }

SourceCondition withoutNetwork(const std::vector<std::string>& /*stations*/) {
    return because(SourceReason::wifiLeftOut);
}

/// The older interface to the kernel's radios, which knows no radio of the newest kind, is in every
/// build.
bool isAccessPoint(const std::string& name) {
    const Descriptor descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    iwreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    return ioctl(descriptor.get(), SIOCGIWMODE, &request) == 0 && request.u.mode == IW_MODE_MASTER;
}

std::optional<Association> association(const std::string& /*interface*/) { return std::nullopt; }

} // namespace AmbrelKit::Linux
