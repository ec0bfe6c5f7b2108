#include "AmbrelKit/Internal/Extensions/File.hpp"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace AmbrelKit {

FileDescriptor::~FileDescriptor() {
    if (number_ >= 0) {
        close(number_);
    }
}

void throwFileError(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), path);
}

std::string readFile(const std::string& path) {
    // Without O_NONBLOCK, to open a named pipe waits for its writer.
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (file.number() < 0 || fstat(file.number(), &status) != 0) {
        throwFileError(path);
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        throwFileError(path + ": not a regular file");
    }
    std::string contents(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t length = 0;
    while (length < contents.size()) {
        const ssize_t count =
            read(file.number(), contents.data() + length, contents.size() - length);
        if (count < 0 && errno != EINTR) {
            throwFileError(path);
        }
        if (count == 0) { // it was cut short meanwhile
            contents.resize(length);
        }
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return contents;
}

void removeFile(const std::string& path) {
    if (unlink(path.c_str()) != 0) {
        throwFileError(path);
    }
}

std::vector<std::string> namesIn(const std::string& directory) {
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(directory.c_str()), closedir);
    if (!listing) {
        throwFileError(directory);
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(listing.get());
        if (entry == nullptr) {
            break;
        }
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(std::move(name));
        }
    }
    if (errno != 0) {
        throwFileError(directory);
    }
    return names;
}

void makeDirectory(const std::string& path) {
    const std::string above = std::filesystem::path(path).parent_path();
    int result = mkdir(path.c_str(), S_IRWXU);
    if (result != 0 && errno == ENOENT && !above.empty() && above != path) {
        makeDirectory(above);
        result = mkdir(path.c_str(), S_IRWXU);
    }
    if (result == 0) {
        syncDirectory(above.empty() ? "." : above);
        return;
    }
    struct stat status {};
    const int reason = errno;
    // Another process may have made it just now.
    if (reason != EEXIST || stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        errno = reason;
        throwFileError(path);
    }
}

void syncDirectory(const std::string& path) {
    const FileDescriptor directory(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems know no such request for a directory (EINVAL); they have nothing to wait
    // for.
    if (directory.number() < 0 || (fsync(directory.number()) != 0 && errno != EINVAL)) {
        throwFileError(path);
    }
}

} // namespace AmbrelKit
