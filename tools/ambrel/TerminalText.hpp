#ifndef AMBREL_TERMINALTEXT_HPP
#define AMBREL_TERMINALTEXT_HPP

#include "AmbrelKit/Platform/PrintableText.hpp"

#include <cstddef>
#include <string_view>

namespace Ambrel {

using AmbrelKit::printable;

/// How many columns `text` takes on a terminal.
std::size_t displayWidth(std::string_view text);

} // namespace Ambrel

#endif
