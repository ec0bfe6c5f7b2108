#ifndef AMBREL_TERMINALTEXT_HPP
#define AMBREL_TERMINALTEXT_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace Ambrel {

using AmbrelKit::printable;

/// A value for a cell of a table: text as it is, "-" for null, anything else as JSON.
std::string shown(const AmbrelKit::JSONValue& value);

/// How many columns `text` takes on a terminal.
std::size_t displayWidth(std::string_view text);

/// The spaces that `text` lacks to `width` columns.
std::string padding(std::string_view text, std::size_t width);

/// `text` with its words on several lines where it would not fit into `columns`; the further ones
/// are indented.
std::string wrapped(const std::string& text, std::size_t indentation, std::size_t columns);

} // namespace Ambrel

#endif
