#ifndef AMBREL_DIFFCOMMAND_HPP
#define AMBREL_DIFFCOMMAND_HPP

#include "tools/ambrel/Commands.hpp"

namespace Ambrel {

/// Adds `diff` to the command `store`, as the functions of Commands.hpp add theirs.
void addDiffCommand(CLI::App& store, ExitStatus& status);

} // namespace Ambrel

#endif
