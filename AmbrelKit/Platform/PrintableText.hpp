#ifndef AMBRELKIT_PLATFORM_PRINTABLETEXT_HPP
#define AMBRELKIT_PLATFORM_PRINTABLETEXT_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <string>
#include <string_view>

namespace AmbrelKit {

/// `text` (UTF-8) as one line for people. What is not printable is shown: a character as `\u202e`,
/// beyond U+FFFF as `\U000e0041`, an ill-formed byte as `\xff`. A backslash stays as it is. On any
/// thread.
///
/// Devices, networks and files bear names that anybody chose. Not printable are ill-formed bytes
/// and the characters that command a terminal (U+0000 to U+001F, U+007F to U+009F), break the line
/// (U+2028, U+2029), turn the direction of writing, or are not to be seen at all (the ignorable
/// ones of Unicode, such as U+200B and U+3164). Printable are those of the last that shape what
/// stands beside them: one variation selector behind what has several shapes, joiners in emoji and
/// in the scripts that need them, and the tags of a flag.
AMBRELKIT_API std::string printable(std::string_view text);

/// The same JSON with an escape for what is not printable (see `printable`), U+FFFD for an
/// ill-formed byte. Line breaks between values stay. On any thread.
AMBRELKIT_API std::string printableJSON(std::string_view json);

} // namespace AmbrelKit

#endif
