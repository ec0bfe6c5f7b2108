#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_FILE_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_FILE_HPP

#include <string>
#include <utility>
#include <vector>

namespace AmbrelKit {

// What the store asks of the file system. Each throws `std::system_error` that names the path.

/// An open file, closed when dropped.
class FileDescriptor {
public:
    explicit FileDescriptor(int number) : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor();

    /// Negative when there is none.
    [[nodiscard]] int number() const { return number_; }

private:
    int number_;
};

/// For the failure that `errno` tells of.
[[noreturn]] void throwFileError(const std::string& path);

/// The whole contents of a regular file. Anything else, such as a pipe that never ends, is refused.
std::string readFile(const std::string& path);

/// Removes a file; a directory is refused.
void removeFile(const std::string& path);

/// The entries of a directory in the file system's order, hidden ones included, without "." and
/// "..".
std::vector<std::string> namesIn(const std::string& directory);

/// Makes a directory and what is missing above it, each 0700, and on the disk when this returns.
void makeDirectory(const std::string& path);

/// Returns when the directory's entries are on the disk.
void syncDirectory(const std::string& path);

} // namespace AmbrelKit

#endif
