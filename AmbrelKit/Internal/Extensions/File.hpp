#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_FILE_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_FILE_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace AmbrelKit {

// What the store asks of the file system. What goes wrong is thrown as an error in one line that
// begins with the path.

/// For the failure that `errno` tells of.
[[noreturn]] AMBRELKIT_SEAM void throwFileError(const std::string& path);

/// Writes all of `text` to an open file; `path` is what it is called.
AMBRELKIT_SEAM void writeAll(int file, std::string_view text, const std::string& path);

/// Removes a file; a directory is refused.
void removeFile(const std::string& path);

/// Calls `visit` with each entry of a directory in the file system's order, hidden ones included,
/// without "." and "..".
void forEachNameIn(const std::string& directory, const std::function<void(std::string)>& visit);

/// The same as a list.
std::vector<std::string> namesIn(const std::string& directory);

/// Makes a directory and what is missing above it, each 0700. Returns those that it made.
std::vector<std::string> makeDirectory(const std::string& path);

/// Refuses a directory that belongs to neither this process's user nor root: its owner may put into
/// it, and take from it, what he likes. One that is not there is none of these.
void checkOwner(const std::string& directory);

/// Returns when the name of this file or directory is on the disk.
void syncEntry(const std::string& path);

} // namespace AmbrelKit

#endif
