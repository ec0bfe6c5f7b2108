#ifndef AMBREL_PAGE_HPP
#define AMBREL_PAGE_HPP

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

/// A whole HTML page that shows the model of a report and needs nothing else. No text in the model
/// becomes markup, or ends the part of the page that it stands in.
std::string reportPage(const AmbrelKit::JSONDictionary& model);

} // namespace Ambrel

#endif
