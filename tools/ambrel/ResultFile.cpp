#include "tools/ambrel/ResultFile.hpp"

#include "tools/ambrel/Commands.hpp"

#include "AmbrelKit/Internal/Extensions/File.hpp"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Ambrel {

using AmbrelKit::Descriptor;

namespace {

/// Also where that is a regular file.
bool isStandardOutput(const std::string& name) {
    struct stat named {};
    struct stat output {};
    return stat(name.c_str(), &named) == 0 && fstat(STDOUT_FILENO, &output) == 0 &&
           named.st_dev == output.st_dev && named.st_ino == output.st_ino;
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
        file_ = Descriptor(
            ::open(name_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    } else if (exists && !S_ISREG(status.st_mode)) {
        file_ = Descriptor(::open(name_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    } else {
        beginNew();
        return;
    }
    if (file_.get() < 0) {
        AmbrelKit::throwFileError(name_);
    }
}

void ResultFile::beginNew() {
    const auto folder = std::filesystem::path(name_).parent_path();
    held_.emplace();
    new_.emplace(folder.empty() ? "." : folder.string(), name_);
}

void ResultFile::write(std::string_view line) { text_.append(line) += '\n'; }

void ResultFile::finish() {
    if (file_.get() < 0) {
        if (!new_) {
            beginNew();
        }
        new_->write(text_);
        new_->finish();
        new_.reset();
        text_.clear();
        held_.reset();
        return;
    }
    struct stat status {};
    if (fstat(file_.get(), &status) == 0 && S_ISREG(status.st_mode)) {
        held_.emplace(); // no line is cut short
    }
    AmbrelKit::writeAll(file_.get(), text_, name_);
    text_.clear();
    held_.reset();
}

} // namespace Ambrel
