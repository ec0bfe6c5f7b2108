#ifndef AMBREL_COLLECTIONTABLES_HPP
#define AMBREL_COLLECTIONTABLES_HPP

#include "tools/ambrel/Terminal/OutputOptions.hpp"
#include "tools/ambrel/Terminal/Terminal.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Ambrel {

/// The names of the columns of its tables.
std::vector<std::string> collectionColumns();

/// A delivered dictionary for reading: what there is one of, then a table for each kind of thing
/// that was seen. What is not there is told with its reason, as far as the dictionary has it, and
/// how much the filter of the options holds back. `deaf` are the sources that could not listen.
std::string collectionTables(const AmbrelKit::JSONDictionary& dictionary,
                             const OutputOptions& options, const Page& page,
                             const std::vector<std::string>& deaf = {});

} // namespace Ambrel

#endif
