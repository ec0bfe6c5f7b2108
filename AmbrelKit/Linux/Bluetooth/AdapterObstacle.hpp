#ifndef AMBRELKIT_LINUX_BLUETOOTH_ADAPTEROBSTACLE_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_ADAPTEROBSTACLE_HPP

#include "AmbrelKit/Linux/Bluetooth/BlueZObjects.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <optional>
#include <string>

namespace AmbrelKit::Linux {

/// An adapter's name, "hci0", by its path.
inline std::string adapterName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

/// Why there is no adapter that is on: a refusal, none, or the switch that is off; of several the
/// first one's. Absent where one is on, or BlueZ has not answered.
std::optional<SourceCondition> adapterObstacle(const BlueZObjects& objects);

} // namespace AmbrelKit::Linux

#endif
