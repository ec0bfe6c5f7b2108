#ifndef AMBREL_COLLECTION_HPP
#define AMBREL_COLLECTION_HPP

#include "tools/ambrel/CollectionOptions.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <optional>

namespace Ambrel {

/// Takes one collection on this machine's platform and returns what was delivered, or nothing when
/// the user interrupted it: it is stopped then. Shows the progress, and says on standard error what
/// the user should know. A reader of standard output that goes away ends the program.
std::optional<AmbrelKit::JSONDictionary> collectOnce(const CollectionOptions& options);

} // namespace Ambrel

#endif
