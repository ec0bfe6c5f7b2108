#ifndef AMBREL_JSONMEMBER_HPP
#define AMBREL_JSONMEMBER_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

// What was saved may be of any type.

/// The value under `key`; null when there is none.
const AmbrelKit::JSONValue& member(const AmbrelKit::JSONDictionary& dictionary, const char* key);

/// The same; null also when `value` is no dictionary.
const AmbrelKit::JSONValue& member(const AmbrelKit::JSONValue& value, const char* key);

/// The text that a value is; empty where it is none.
const std::string& textOf(const AmbrelKit::JSONValue& value);

} // namespace Ambrel

#endif
