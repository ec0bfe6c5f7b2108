#ifndef AMBRELKIT_PLATFORM_JSONFILE_HPP
#define AMBRELKIT_PLATFORM_JSONFILE_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>
#include <string>

namespace AmbrelKit {

/// The dictionary or array in a regular file, within the bounds of `readJSON`. Anything else, such
/// as a pipe that never ends, is refused without being waited for.
///
/// Throws an error in one line that begins with the path: `std::system_error` where the system says
/// why, else `std::runtime_error`. Reads before it returns, on any thread.
AMBRELKIT_API JSONValue readJSONFile(const std::string& path);

} // namespace AmbrelKit

#endif
