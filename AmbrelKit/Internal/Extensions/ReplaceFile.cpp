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
        const FileDescriptor file(
            open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (file.number() >= 0 && lock(file.number())) {
            unlink(path.c_str());
        }
    }
}

/// A file under a name of its own, which goes with it unless it was moved.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& folder)
        : path_(folder + "/" + std::string(temporaryPrefix) + "XXXXXX"),
          file_(mkostemp(path_.data(), O_CLOEXEC)) {
        if (file_.number() < 0) {
            throwFileError(folder);
        }
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    ~TemporaryFile() {
        if (!moved_) {
            unlink(path_.c_str());
        }
    }

    /// False when another process took it for abandoned before the lock was there. A file system
    /// without locks answers otherwise: there nobody removes what is abandoned.
    [[nodiscard]] bool claim() const {
        struct stat status {};
        const bool taken = !lock(file_.number()) && errno == EWOULDBLOCK;
        return !taken && fstat(file_.number(), &status) == 0 && status.st_nlink > 0;
    }

    void write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t count = ::write(file_.number(), text.data(), text.size());
            if (count >= 0) {
                text.remove_prefix(static_cast<std::size_t>(count));
            } else if (errno != EINTR) {
                throwFileError(path_);
            }
        }
        if (fsync(file_.number()) != 0) {
            throwFileError(path_);
        }
    }

    void moveTo(const std::string& path) {
        if (std::rename(path_.c_str(), path.c_str()) != 0) {
            throwFileError(path);
        }
        moved_ = true;
    }

private:
    std::string path_;
    FileDescriptor file_;
    bool moved_ = false;
};

void replaceThrough(const std::string& folder, const std::string& path, std::string_view text) {
    removeAbandoned(folder);
    constexpr int greatestAttempts = 100;
    for (int attempt = 0; attempt < greatestAttempts; ++attempt) {
        TemporaryFile file(folder);
        if (file.claim()) {
            file.write(text);
            file.moveTo(path);
            return;
        }
    }
    errno = EBUSY;
    throwFileError(folder);
}

bool isReasonToStayInside(const std::error_code& error) {
    return error == std::errc::cross_device_link || error == std::errc::permission_denied ||
           error == std::errc::operation_not_permitted || error == std::errc::read_only_file_system;
}

} // namespace

void replaceFile(const std::string& directory, const std::string& name, std::string_view text) {
    const std::string path = directory + "/" + name;
    const std::string above = std::filesystem::path(directory).parent_path();
    try {
        replaceThrough(above.empty() ? "." : above, path, text);
    } catch (const std::system_error& error) {
        if (!isReasonToStayInside(error.code())) {
            throw;
        }
        replaceThrough(directory, path, text);
    }
    syncDirectory(directory);
}

bool isTemporaryName(std::string_view name) { return name.starts_with(temporaryPrefix); }

} // namespace AmbrelKit
