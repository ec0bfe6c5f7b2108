#ifndef AMBREL_TERMINALTEXT_HPP
#define AMBREL_TERMINALTEXT_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel {

using AmbrelKit::printable;

/// A value for a cell of a table: text as it is, "-" for null, anything else as JSON.
std::string shown(const AmbrelKit::JSONValue& value);

/// Whether a byte of UTF-8 belongs to the character of the byte before it.
constexpr bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// A terminal draws grapheme clusters: a letter with its accents, or an emoji of several characters.
// What is measured here is to be printable.

/// How many columns `text` takes on a terminal.
std::size_t displayWidth(std::string_view text);

/// As much of `text` as takes no more than so many columns; where that is not all of it, it ends in
/// an ellipsis.
std::string cut(std::string_view text, std::size_t columns);

/// The same of its end, which begins with an ellipsis where that is not all of it.
std::string ending(std::string_view text, std::size_t columns);

/// The spaces that `text` lacks to `width` columns.
std::string padding(std::string_view text, std::size_t width);

/// Words on lines of so many columns, with `gap` between them. A word is broken only where it is
/// longer than a line: at its spaces, and else anywhere.
std::vector<std::string> lines(const std::vector<std::string>& words, std::string_view gap,
                               std::size_t columns);

/// A help text, two columns in places, whose lines fit: on a narrow page what stands in the second
/// column goes below.
std::string fittedHelp(const std::string& text, std::size_t columns);

} // namespace Ambrel

#endif
