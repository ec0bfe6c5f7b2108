#include "AmbrelKit/Internal/Extensions/ReplaceFile.hpp"

#include "AmbrelKit/Internal/Extensions/File.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace AmbrelKit {

namespace {

constexpr std::string_view temporaryPrefix = ".ambrel-saving-";

/// A writer holds a lock on its temporary file for as long as it lives. One without a lock was left
/// behind.
bool lock(int file) { return flock(file, LOCK_EX | LOCK_NB) == 0; }

/// What can't be removed, or not even be listed, stays and does no harm.
void removeAbandoned(const std::string& folder) {
    std::vector<std::string> names;
    try {
        names = namesIn(folder);
    } catch (const std::system_error&) {
        return;
    }
    for (const std::string& name : names) {
        if (!isTemporaryName(name)) {
            continue;
        }
        const std::string path = folder + "/" + name;
        const Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (file.get() >= 0 && lock(file.get())) {
            unlink(path.c_str());
        }
    }
}

/// False when another process took the new file for abandoned before the lock was there. A file
/// system without locks answers otherwise: there nobody removes what is abandoned.
bool claim(int file) {
    struct stat status {};
    const bool taken = !lock(file) && errno == EWOULDBLOCK;
    return !taken && fstat(file, &status) == 0 && status.st_nlink > 0;
}

} // namespace

NewFile::NewFile(const std::string& folder, std::string path) : path_(std::move(path)) {
    removeAbandoned(folder);
    constexpr int greatestAttempts = 100;
    for (int attempt = 0; attempt < greatestAttempts; ++attempt) {
        std::string temporary = folder + "/" + std::string(temporaryPrefix) + "XXXXXX";
        file_ = Descriptor(mkostemp(temporary.data(), O_CLOEXEC));
        if (file_.get() < 0) {
            throwFileError(path_);
        }
        if (claim(file_.get())) {
            temporary_ = std::move(temporary);
            return;
        }
        unlink(temporary.c_str());
    }
    errno = EBUSY;
    throwFileError(path_);
}

NewFile::~NewFile() {
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
    }
}

void NewFile::write(std::string_view text) const { writeAll(file_.get(), text, path_); }

void NewFile::finish() {
    if (fsync(file_.get()) != 0 || std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        throwFileError(path_);
    }
    temporary_.clear();
}

void replaceFile(const std::string& directory, const std::string& name, std::string_view text) {
    const std::string path = directory + "/" + name;
    const auto writeIn = [&](const std::string& folder) {
        NewFile file(folder, path);
        file.write(text);
        file.finish();
    };
    const std::string above = std::filesystem::path(directory).parent_path();
    try {
        writeIn(above.empty() ? "." : above);
    } catch (const std::system_error&) {
        writeIn(directory);
    }
    syncEntry(path);
}

bool isTemporaryName(std::string_view name) { return name.starts_with(temporaryPrefix); }

} // namespace AmbrelKit
