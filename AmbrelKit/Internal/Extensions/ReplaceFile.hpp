#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_REPLACEFILE_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_REPLACEFILE_HPP

#include <string>
#include <string_view>

namespace AmbrelKit {

/// Gives the file `name` in `directory` the contents `text`, and returns when they are on the disk.
/// Whoever looks, also after a kill or a loss of power, finds either the earlier file or the new
/// one, whole. Of several writers at once the last to finish wins.
///
/// The text is first written to a temporary file. That stands in the folder above the directory,
/// where no listing of the directory meets it; only when the directory is a file system of its
/// own, or the folder above may not be written, it stands in the directory itself. What killed
/// writers have left behind is removed on the way.
///
/// Throws `std::system_error` that names the path; the earlier file is then untouched.
void replaceFile(const std::string& directory, const std::string& name, std::string_view text);

/// Whether an entry of a directory is a temporary file of `replaceFile`.
bool isTemporaryName(std::string_view name);

} // namespace AmbrelKit

#endif
