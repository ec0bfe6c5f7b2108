#ifndef AMBREL_JSONMEMBER_HPP
#define AMBREL_JSONMEMBER_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>

namespace Ambrel {

// What was saved may be of any type.

/// The value under `key`; null when there is none.
const AmbrelKit::JSONValue& member(const AmbrelKit::JSONDictionary& dictionary, const char* key);

/// The same; null also when `value` is no dictionary.
const AmbrelKit::JSONValue& member(const AmbrelKit::JSONValue& value, const char* key);

} // namespace Ambrel

#endif
