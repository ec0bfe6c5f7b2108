#ifndef AMBREL_TERMINALGUARD_HPP
#define AMBREL_TERMINALGUARD_HPP

#include "tools/ambrel/Commands.hpp"

#include <atomic>
#include <functional>
#include <initializer_list>

namespace Ambrel {

/// Whether the terminal is not as it was found: set by the program that draws, before it changes
/// anything, and taken back once all is restored. It lies in memory that its guard shares.
using ScreenFlag = std::atomic<bool>;

/// Runs `show` in a child process, and returns what it returns, in both. Whatever becomes of the
/// child, the parent restores the terminal where that did not, and ends or stops as the child did:
/// with its status, or by throwing `EndBySignal`. What is to end one of them ends both.
///
/// To be called before anything of the kit is made. Throws `CommandError` where standard input or
/// output is no terminal, or one that nothing is known of.
ExitStatus guarded(const std::function<ExitStatus(ScreenFlag& flag)>& show);

/// Has the terminal do what it can of these, by their names in its description.
void sendCapabilities(std::initializer_list<const char*> names);

} // namespace Ambrel

#endif
