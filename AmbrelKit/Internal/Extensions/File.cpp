#include "AmbrelKit/Internal/Extensions/File.hpp"

#include "AmbrelKit/Platform/Descriptor.hpp"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace AmbrelKit {

void throwFileError(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), path);
}

void writeAll(int file, std::string_view text, const std::string& path) {
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            throwFileError(path);
        }
    }
}

void removeFile(const std::string& path) {
    if (unlink(path.c_str()) != 0) {
        throwFileError(path);
    }
}

void forEachNameIn(const std::string& directory, const std::function<void(std::string)>& visit) {
    std::error_code error;
    for (std::filesystem::directory_iterator entry(directory, error);
         !error && entry != std::filesystem::end(entry); entry.increment(error)) {
        visit(entry->path().filename());
    }
    if (error) {
        throw std::system_error(error, directory);
    }
}

std::vector<std::string> namesIn(const std::string& directory) {
    std::vector<std::string> names;
    forEachNameIn(directory, [&names](std::string name) { names.push_back(std::move(name)); });
    return names;
}

std::vector<std::string> makeDirectory(const std::string& path) {
    std::vector<std::string> made;
    const std::string above = std::filesystem::path(path).parent_path();
    int result = mkdir(path.c_str(), S_IRWXU);
    if (result != 0 && errno == ENOENT && !above.empty() && above != path) {
        made = makeDirectory(above);
        result = mkdir(path.c_str(), S_IRWXU);
    }
    const int reason = errno;
    std::error_code unknown;
    if (result == 0) {
        made.push_back(path);
    } else if (reason != EEXIST || !std::filesystem::is_directory(path, unknown)) {
        // Else another process has made it just now.
        errno = reason;
        throwFileError(path);
    }
    return made;
}

void checkOwner(const std::string& directory) {
    struct stat status {};
    if (stat(directory.c_str(), &status) == 0 && status.st_uid != geteuid() && status.st_uid != 0) {
        throw std::runtime_error(directory + ": it belongs to another user");
    }
}

void syncEntry(const std::string& path) {
    const std::string above = std::filesystem::path(path).parent_path();
    const Descriptor directory(
        open(above.empty() ? "." : above.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems know no such request for a directory (EINVAL); they have nothing to wait
    // for.
    if (directory.get() < 0 || (fsync(directory.get()) != 0 && errno != EINVAL)) {
        throwFileError(path + ": it is written, but a loss of power may undo that");
    }
}

} // namespace AmbrelKit
