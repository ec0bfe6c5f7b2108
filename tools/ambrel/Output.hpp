#ifndef AMBREL_OUTPUT_HPP
#define AMBREL_OUTPUT_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <string>

namespace Ambrel {

enum class OutputFormat {
    json,   ///< compact, on one line
    pretty, ///< indented
    table,  ///< for reading
};

/// The format of that name; for an empty one pretty in a terminal, else json.
OutputFormat outputFormat(const std::string& name);

/// A delivered dictionary as text with a line end. No control character that some device chose for
/// its name is in it as it is.
std::string formatted(const AmbrelKit::JSONDictionary& data, OutputFormat format);

/// Writes results to standard output, at once. Throws `CommandError` when they can't be written.
void printResult(const std::string& text);

} // namespace Ambrel

#endif
