#ifndef AMBREL_TERMINAL_HPP
#define AMBREL_TERMINAL_HPP

#include <cstddef>
#include <optional>

namespace Ambrel {

/// How many columns the terminal behind a descriptor has; nothing where there is none, or it does
/// not say.
std::optional<std::size_t> terminalColumns(int descriptor);

/// Whether what is written there goes to another program.
bool isPipe(int descriptor);

} // namespace Ambrel

#endif
