#ifndef AMBREL_COLLECTIONTABLES_HPP
#define AMBREL_COLLECTIONTABLES_HPP

#include "tools/ambrel/Terminal/Terminal.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

/// A delivered dictionary for reading: what there is one of, then a table for each kind of thing
/// that was seen. What is not there is told with its reason, as far as the dictionary has it.
std::string collectionTables(const AmbrelKit::JSONDictionary& dictionary, const Page& page);

} // namespace Ambrel

#endif
