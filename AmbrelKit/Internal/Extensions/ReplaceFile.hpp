#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_REPLACEFILE_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_REPLACEFILE_HPP

#include "AmbrelKit/Platform/Descriptor.hpp"
#include "AmbrelKit/Platform/Export.hpp"

#include <string>
#include <string_view>

namespace AmbrelKit {

// Each throws `std::system_error` with the path that the file is to have.

/// A file that takes its name only when it is whole: until then it stands under a name that nobody
/// can guess, for its user alone (0600), and goes with its owner. Of those that killed processes
/// have left behind, the folder is cleared.
class NewFile {
public:
    /// In `folder`, which is on the same file system as `path`.
    AMBRELKIT_SEAM NewFile(const std::string& folder, std::string path);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    AMBRELKIT_SEAM ~NewFile();

    AMBRELKIT_SEAM void write(std::string_view text) const;

    /// Takes the name, and the place of an earlier file of that name, when the contents are on the
    /// disk.
    AMBRELKIT_SEAM void finish();

private:
    std::string path_;
    std::string temporary_; ///< empty when there is none
    Descriptor file_;
};

/// Gives the file `name` in `directory` the contents `text`, and returns when they are on the disk.
/// Whoever looks, also after a kill or a loss of power, finds either the earlier file or the new
/// one, whole. Of several writers at once the last to finish wins.
///
/// The new file is first made in the folder above the directory, where no listing of the directory
/// meets it; where that can't be (the directory is a file system of its own, the folder above may
/// not be written or is full), in the directory itself.
///
/// When it throws, the earlier file is untouched, unless the error says that the new one is
/// written.
void replaceFile(const std::string& directory, const std::string& name, std::string_view text);

/// Whether an entry of a directory is a file that is not whole yet.
bool isTemporaryName(std::string_view name);

} // namespace AmbrelKit

#endif
