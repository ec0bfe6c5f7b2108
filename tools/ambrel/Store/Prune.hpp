#ifndef AMBREL_PRUNE_HPP
#define AMBREL_PRUNE_HPP

#include <string>

namespace Ambrel {

/// What `ambrel store prune --keep` takes, for its help.
constexpr const char* keptForms = "an age, such as 30d, or a number of the newest collections";

/// A check for CLI::Option::check.
std::string checkKept(const std::string& text);

/// Removes the collections that are older than the age in `keep`, or all but that many of the
/// newest, from the oldest on, and prints each; with `isRehearsal` only says which they are. The
/// newest always stays. Only a regular file goes whose name is the store's and whose dictionary
/// bears the time of that name; any other of such a name is told and stays. Returns false when
/// something was, or could not be removed.
bool prune(const std::string& keep, bool isRehearsal);

} // namespace Ambrel

#endif
