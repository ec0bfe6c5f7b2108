#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_USUALSERVICETYPES_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_USUALSERVICETYPES_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

/// What a program looks for that has no types of its own, `ambrel` for one: the DNS-SD types that
/// its user has chosen; without a choice those of the main bundle, else types that homes and
/// offices announce. Beside `all` these are looked for, too. Each once, and with its trailing dot.
AMBRELKIT_SEAM std::vector<std::string>
usualServiceTypes(std::optional<std::vector<std::string>> chosen = std::nullopt);

} // namespace AmbrelKit::Linux

#endif
