#include "tools/ambrel/Arguments/ConfigurationFile.hpp"

#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Process/Environment.hpp"

#include "AmbrelKit/Platform/Descriptor.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

namespace {

constexpr std::size_t largestFile = 1U << 20U; // bytes

std::string usualFile() {
    const std::string folder = variable("XDG_CONFIG_HOME");
    if (folder.starts_with('/')) {
        return folder + "/ambrel/config.toml";
    }
    const std::string home = variable("HOME");
    return home.starts_with('/') ? home + "/.config/ambrel/config.toml" : "";
}

[[noreturn]] void throwUnreadable(const std::string& file, const std::string& reason) {
    throw CommandError(badInput, file + ": " + reason);
}

/// Whether somebody else could have written there.
bool isOthers(const struct stat& status) {
    return (status.st_uid != geteuid() && status.st_uid != 0) || (status.st_mode & S_IWOTH) != 0;
}

std::string contents(int file, const std::string& name) {
    std::string text;
    std::array<char, 4096> piece{};
    ssize_t count = 0;
    do {
        count = read(file, piece.data(), piece.size());
        text.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    } while ((count > 0 && text.size() <= largestFile) || (count < 0 && errno == EINTR));
    if (count < 0) {
        throwUnreadable(name, std::generic_category().message(errno));
    }
    if (text.size() > largestFile) {
        throwUnreadable(name, "a configuration has 1 MiB at most");
    }
    return text;
}

/// The text of the file; empty where there is none that is to be read.
std::string readText(Configuration& configuration) {
    const std::string& file = configuration.file;
    // What stands in the usual place is not waited for, as a pipe would be.
    const int waits = configuration.isNamed ? 0 : O_NONBLOCK;
    const AmbrelKit::Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC | waits));
    struct stat status {};
    if (opened.get() < 0) {
        const int error = errno;
        const bool isThere = stat(file.c_str(), &status) == 0;
        if (configuration.isNamed || isThere) {
            throwUnreadable(file, std::generic_category().message(error));
        }
        return "";
    }
    struct stat folder {};
    const auto above = std::filesystem::path(file).parent_path();
    if (!configuration.isNamed && fstat(opened.get(), &status) == 0 &&
        stat(above.c_str(), &folder) == 0) {
        if (isOthers(status) || isOthers(folder)) {
            configuration.refusal = file + " is not read: another user could have written it";
            return "";
        }
        if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
            throwUnreadable(file, "this is no regular file");
        }
    }
    return contents(opened.get(), file);
}

} // namespace

void throwWrong(const Configuration& configuration, std::size_t line, const std::string& reason) {
    throwUnreadable(configuration.file + ":" + std::to_string(line), reason);
}

Configuration readConfiguration(const std::string& named) {
    const char* inEnvironment = std::getenv("AMBREL_CONFIG");
    Configuration configuration;
    configuration.isNamed = !named.empty() || inEnvironment != nullptr;
    configuration.file = !named.empty()             ? named
                         : inEnvironment != nullptr ? std::string(inEnvironment)
                                                    : usualFile();
    if (configuration.file.empty()) {
        return configuration;
    }
    try {
        configuration.settings = readTOML(readText(configuration));
    } catch (const TOMLError& error) {
        throwWrong(configuration, error.line(), error.what());
    }
    return configuration;
}

} // namespace Ambrel
