#ifndef AMBRELKIT_PLATFORM_PRINTABLETEXT_HPP
#define AMBRELKIT_PLATFORM_PRINTABLETEXT_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <string>
#include <string_view>

namespace AmbrelKit {

// Devices, networks and files bear names that anybody chose. Not printable are ill-formed bytes and
// the characters that command a terminal (U+0000 to U+001F, U+007F to U+009F), break the line
// (U+2028, U+2029) or turn the direction of writing.

/// `text` (UTF-8) as one line for people: U+FFFD stands for what is not printable.
AMBRELKIT_API std::string printable(std::string_view text);

/// The same JSON with an escape for what is not printable. Line breaks between values stay.
AMBRELKIT_API std::string printableJSON(std::string_view json);

} // namespace AmbrelKit

#endif
