#include "AmbrelKit/Linux/Libraries/Netlink.hpp"
#include "AmbrelKit/Linux/Network/Wireless.hpp"
#include "AmbrelKit/Linux/Sources/KernelDevices.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <system_error>

namespace AmbrelKit::Linux {

namespace {

/// Whether rfkill blocks the radio of a station, by its `soft` or its `hard` switch.
bool isBlocked(const std::string& station, const char* by) {
    std::error_code error;
    const std::filesystem::path radio = "/sys/class/net/" + station + "/phy80211";
    for (const auto& entry : std::filesystem::directory_iterator(radio, error)) {
        int state = 0;
        if (entry.path().filename().native().starts_with("rfkill") &&
            std::ifstream(entry.path() / by) >> state && state == 1) {
            return true;
        }
    }
    return false;
}

} // namespace

SourceCondition withoutNetwork(const std::vector<std::string>& stations) {
    SourceCondition blocked;
    for (const std::string& station : stations) {
        if (isBlocked(station, "hard")) {
            blocked = because(SourceReason::wifiBlockedByHardware, {station});
        } else if (isBlocked(station, "soft")) {
            blocked = because(SourceReason::wifiBlockedBySoftware, {station});
        } else {
            return listening(station);
        }
    }
    if (!stations.empty()) {
        return blocked;
    }
    if (!kernelHas("ieee80211")) {
        return because(SourceReason::noWifiAdapter);
    }
    if (!netlinkLibrary.isThere()) {
        return because(SourceReason::noNetlinkLibrary);
    }
    return Descriptor(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_GENERIC)).get() < 0
               ? because(reasonFor(errno, SourceReason::noNetlinkForWifi))
               : listening("nl80211");
}

} // namespace AmbrelKit::Linux
