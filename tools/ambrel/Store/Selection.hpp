#ifndef AMBREL_SELECTION_HPP
#define AMBREL_SELECTION_HPP

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace Ambrel {

// How the command line names one collection of the store: by its time, by `last` or `last-N`, the
// newest and the Nth before it, or by an age such as `2d`, the newest that is so old. The latter
// two go by the names of the files, so that no other file is read.

/// For its help.
std::string selectionHelp();

/// A check for CLI::Option::check.
std::string checkSelection(const std::string& text);

/// The timestamp of what `text` names; nothing when the store has too few collections. At a time it
/// need not have one. Throws `CommandError`: `badInput` when the text names none, else `failed`,
/// when the store can't be listed.
std::optional<double> selectedTime(const std::string& text);

/// The collection that `text` names. Throws `CommandError`: `badInput` when the text names none,
/// else `failed`, when it is not there or can't be read.
AmbrelKit::JSONDictionary selectedCollection(const std::string& text);

/// There is no collection of what `text` names, or of that `time`, which it is.
[[noreturn]] void throwNotSaved(const std::string& text, std::optional<double> time);

} // namespace Ambrel

#endif
