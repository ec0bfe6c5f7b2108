#ifndef AMBRELKIT_PLATFORM_JSONDICTIONARY_HPP
#define AMBRELKIT_PLATFORM_JSONDICTIONARY_HPP

#include <nlohmann/json.hpp>

namespace AmbrelKit {

/// Any JSON value: text (UTF-8), integer, floating-point number, boolean, array, dictionary or
/// null.
using JSONValue = nlohmann::json;

/// String keys to JSON values. Keys are UTF-8; the order of the keys carries no meaning.
using JSONDictionary = nlohmann::json::object_t;

} // namespace AmbrelKit

#endif
