#ifndef AMBREL_OUTPUT_HPP
#define AMBREL_OUTPUT_HPP

#include "tools/ambrel/Terminal/Terminal.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

enum class OutputFormat {
    json,   ///< compact, on one line
    pretty, ///< indented
    table,  ///< for reading
};

/// The format of that name; for an empty one pretty in a terminal, else json.
OutputFormat outputFormat(const std::string& name);

/// A delivered dictionary as text with a line end. What some device has in its name does not
/// command a terminal: JSON escapes it, and stays equal in value; a table shows the escapes.
std::string formatted(const AmbrelKit::JSONDictionary& data, OutputFormat format,
                      const Page& page = {});

/// Tells the user something in one line on standard error. A reader that does not read it keeps no
/// interruption waiting.
void say(const std::string& text);

/// Likewise what is no failure; in a terminal the line is broken between words.
void sayNote(const std::string& text);

/// Writes results to standard output, at once. Throws `CommandError` when they can't be written.
void printResult(const std::string& text);

} // namespace Ambrel

#endif
