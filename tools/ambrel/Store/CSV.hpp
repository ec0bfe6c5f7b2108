#ifndef AMBREL_CSV_HPP
#define AMBREL_CSV_HPP

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <string>

namespace Ambrel {

// Collections as comma-separated values (RFC 4180), a line for each thing seen. A line stays one:
// control characters are shown as escapes. So that no spreadsheet takes a stranger's name for a
// formula, a ' stands before = + - @ (also of full width) and before ' itself, where a text begins
// with them, or where it would when cut at a semicolon; spaces may stand between. Numbers are as
// they are.

/// The names of the columns.
std::string csvHeading();

/// A line for the collection itself, with its address and position, then one for each peripheral,
/// service and network.
std::string csvLines(const AmbrelKit::JSONDictionary& collection);

} // namespace Ambrel

#endif
