#ifndef AMBREL_OUTPUT_HPP
#define AMBREL_OUTPUT_HPP

#include "tools/ambrel/CollectionOptions.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <string>

namespace Ambrel {

/// A delivered dictionary as text with a line end. No control character that some device chose for
/// its name is in it as it is.
std::string formatted(const AmbrelKit::JSONDictionary& data, OutputFormat format);

/// Writes results to standard output, at once. Throws `CommandError` when they can't be written.
void printResult(const std::string& text);

} // namespace Ambrel

#endif
