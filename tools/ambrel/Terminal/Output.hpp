#ifndef AMBREL_OUTPUT_HPP
#define AMBREL_OUTPUT_HPP

#include "tools/ambrel/Terminal/OutputOptions.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

enum class OutputFormat {
    json,   ///< compact, on one line
    pretty, ///< indented
    table,  ///< for reading
};

/// The format that the options ask for; without any, a table in a terminal or where one is asked
/// for by its columns, else json. Throws `CommandError` where that is asked for and it is no table.
OutputFormat outputFormat(const OutputOptions& options);

/// A delivered dictionary as text with a line end, as the options have it, on standard output. What
/// some device has in its name does not command a terminal: JSON escapes it, and stays equal in
/// value; a table shows the escapes. `deaf` are the sources that could not listen.
std::string presented(const AmbrelKit::JSONDictionary& data, const OutputOptions& options,
                      const std::vector<std::string>& deaf = {});

/// Likewise the whole of a dictionary; a table as wide as it has to be.
std::string formatted(const AmbrelKit::JSONDictionary& data, OutputFormat format);

/// Tells the user something in one line on standard error; in a terminal it is broken between
/// words. A reader that does not read it keeps no interruption waiting.
void say(const std::string& text);

/// Likewise what is no failure.
void sayNote(const std::string& text, ColorChoice color = ColorChoice::automatic);

/// Writes the help of a command to standard output, fitted to the terminal, and to 80 columns.
void printHelp(const std::string& text);

/// Writes results to standard output, at once. Throws `CommandError` when they can't be written.
void printResult(const std::string& text);

} // namespace Ambrel

#endif
