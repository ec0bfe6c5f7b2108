#ifndef AMBRELKIT_INTERNAL_PROCESSSETTINGS_HPP
#define AMBRELKIT_INTERNAL_PROCESSSETTINGS_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/UUID.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct ifaddrs;

namespace AmbrelKit {

/// What a platform answers to every kit of the process in place of this machine: the seam on which
/// the simulated platform stands, beside the installed headers.
struct ProcessSettings {
    std::function<std::chrono::system_clock::time_point()> currentDate;
    std::function<UUID()> generateUUID;
    std::function<std::optional<std::string>()> addressIPv4;
    /// As in `CaptiveNetwork`.
    std::function<std::optional<JSONValue>()> supportedInterfaces;
    std::function<std::optional<JSONValue>(const std::string& interface)> currentNetworkInfo;

    /// The first address that counts of such a list as getifaddrs gives, which may be null.
    [[nodiscard]] AMBRELKIT_SEAM static std::optional<std::string>
    addressIPv4Among(const ifaddrs* interfaces);

    /// Has these used, with the initial reuse threshold, until the handle is dropped; then all is
    /// again as it was before. Of several the newest counts; they may go in any order.
    [[nodiscard]] AMBRELKIT_SEAM std::shared_ptr<void> install() const;
};

} // namespace AmbrelKit

#endif
