#include "tools/ambrel/Collecting/ResultFile.hpp"

#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Process/HeldSignals.hpp"

#include "AmbrelKit/Internal/Extensions/File.hpp"
#include "AmbrelKit/Internal/Extensions/ReplaceFile.hpp"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Ambrel {

using AmbrelKit::Descriptor;
using AmbrelKit::NewFile;

namespace {

constexpr int continuing = O_APPEND | O_CREAT;

/// Also where that is a regular file.
bool isStandardOutput(const std::string& name) {
    struct stat named {};
    struct stat output {};
    return stat(name.c_str(), &named) == 0 && fstat(STDOUT_FILENO, &output) == 0 &&
           named.st_dev == output.st_dev && named.st_ino == output.st_ino;
}

std::string folderOf(const std::string& name) {
    const auto folder = std::filesystem::path(name).parent_path();
    return folder.empty() ? "." : folder.string();
}

} // namespace

ResultFile::ResultFile(std::string name, Earlier earlier) : name_(std::move(name)) {
    const std::filesystem::path path = name_;
    if (name_ == "-") {
        throw CommandError(badInput, "\"-\" is where the dictionary is printed: name a file");
    }
    if (!path.has_filename()) {
        throw CommandError(badInput, "\"" + name_ + "\" is no name for a file");
    }
    struct stat status {};
    const bool exists = lstat(name_.c_str(), &status) == 0;
    if (exists && isStandardOutput(name_)) { // opened anew it would have a place of its own in it
        file_ = Descriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0));
    } else if (earlier == Earlier::continued) {
        file_ = opened(continuing);
        opensAnew_ = fstat(file_.get(), &status) == 0 && S_ISREG(status.st_mode);
    } else if (exists && !S_ISREG(status.st_mode)) {
        file_ = opened(O_TRUNC | O_CREAT); // behind a link there may be none yet
    } else {
        const HeldSignals held;
        const NewFile canBeMade(folderOf(name_), name_); // and goes: it is made when it is whole
    }
}

Descriptor ResultFile::opened(int flags) const {
    Descriptor file(::open(name_.c_str(), O_WRONLY | O_CLOEXEC | flags, S_IRUSR | S_IWUSR));
    if (file.get() < 0) {
        AmbrelKit::throwFileError(name_);
    }
    return file;
}

void ResultFile::write(std::string_view line) { text_.append(line) += '\n'; }

void ResultFile::finish() {
    const std::string text = std::exchange(text_, {});
    if (opensAnew_) {
        file_ = opened(continuing);
    }
    struct stat before {};
    if (file_.get() < 0) {
        const HeldSignals held;
        NewFile file(folderOf(name_), name_);
        file.write(text);
        file.finish();
    } else if (fstat(file_.get(), &before) == 0 && S_ISREG(before.st_mode)) {
        const HeldSignals held;
        try {
            AmbrelKit::writeAll(file_.get(), text, name_);
        } catch (const std::system_error&) { // of a full disk: no line is cut short
            [[maybe_unused]] const int result = ftruncate(file_.get(), before.st_size);
            throw;
        }
    } else {
        AmbrelKit::writeAll(file_.get(), text, name_);
    }
}

bool nameOneFile(const std::string& name, const std::string& other) {
    std::error_code unknown;
    return !std::filesystem::is_other(name, unknown) && !isStandardOutput(name) &&
           std::filesystem::weakly_canonical(name, unknown) ==
               std::filesystem::weakly_canonical(other, unknown);
}

} // namespace Ambrel
