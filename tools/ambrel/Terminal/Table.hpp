#ifndef AMBREL_TABLE_HPP
#define AMBREL_TABLE_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

/// A delivered dictionary for reading: one section for each kind, its columns aligned.
std::string table(const AmbrelKit::JSONDictionary& dictionary);

} // namespace Ambrel

#endif
