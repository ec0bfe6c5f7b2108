#ifndef AMBRELKIT_PLATFORM_JSONDICTIONARY_HPP
#define AMBRELKIT_PLATFORM_JSONDICTIONARY_HPP

#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace AmbrelKit {

/// Any JSON value: text (UTF-8), integer, floating-point number, boolean, array, dictionary or
/// null.
using JSONValue = nlohmann::json;

/// String keys to JSON values: `nlohmann::json::object_t`. Keys are UTF-8; the order of the keys
/// carries no meaning. Who reads or makes values includes <nlohmann/json.hpp>.
using JSONDictionary = std::map<std::string, JSONValue, std::less<>>;

} // namespace AmbrelKit

#endif
