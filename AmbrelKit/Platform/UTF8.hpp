#ifndef AMBRELKIT_PLATFORM_UTF8_HPP
#define AMBRELKIT_PLATFORM_UTF8_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <string>
#include <string_view>

namespace AmbrelKit {

/// Whether `bytes` are well-formed UTF-8. On any thread.
AMBRELKIT_API bool isValidUTF8(std::string_view bytes);

/// `bytes` as valid UTF-8: every ill-formed sequence (as long as it could still have become a
/// character) is replaced by one U+FFFD. Text of unknown origin goes through here where it enters.
/// On any thread.
AMBRELKIT_API std::string repairedUTF8(std::string_view bytes);

} // namespace AmbrelKit

#endif
