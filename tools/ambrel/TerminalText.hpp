#ifndef AMBREL_TERMINALTEXT_HPP
#define AMBREL_TERMINALTEXT_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace Ambrel {

/// `text` (UTF-8) for a terminal: characters that command it, break the line or turn the writing's
/// direction are replaced by U+FFFD.
std::string printable(std::string_view text);

/// How many columns `text` takes on a terminal.
std::size_t displayWidth(std::string_view text);

} // namespace Ambrel

#endif
