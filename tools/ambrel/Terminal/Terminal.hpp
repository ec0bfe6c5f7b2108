#ifndef AMBREL_TERMINAL_HPP
#define AMBREL_TERMINAL_HPP

#include "tools/ambrel/Terminal/Style.hpp"

#include <cstddef>
#include <limits>
#include <optional>

namespace Ambrel {

/// How many columns the terminal behind a descriptor has; nothing where there is none, or it does
/// not say.
std::optional<std::size_t> terminalColumns(int descriptor);

/// Whether a terminal is there that can do more than print one line after the other.
bool isDrawable(int descriptor);

/// Whether what is written there goes to another program.
bool isPipe(int descriptor);

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

/// What texts for people are written on.
struct Page {
    std::size_t columns = unlimited;
    Style style;
};

/// The page behind a descriptor: as wide as its terminal, else as COLUMNS says, else unlimited.
Page page(int descriptor, ColorChoice choice = ColorChoice::automatic);

} // namespace Ambrel

#endif
