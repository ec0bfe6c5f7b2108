#ifndef AMBRELKIT_LINUX_LOCATION_DESKTOPID_HPP
#define AMBRELKIT_LINUX_LOCATION_DESKTOPID_HPP

#include "AmbrelKit/Linux/Location/LocationOptions.hpp"

#include <string>
#include <string_view>

namespace AmbrelKit::Linux {

/// The name of this program's desktop file: what the options say, else the main bundle, else the
/// desktop that started the program, else the program's own name.
std::string desktopId(const LocationOptions& options);

/// The application whose process a desktop has put into this unit of systemd; empty when the unit
/// is not named as desktops (https://systemd.io/DESKTOP_ENVIRONMENTS) and snaps name them.
std::string applicationOfUnit(std::string_view unit);

} // namespace AmbrelKit::Linux

#endif
