#include "AmbrelKit/Platform/JSONFile.hpp"

#include "AmbrelKit/Platform/Descriptor.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <system_error>

namespace AmbrelKit {

namespace {

[[noreturn]] void fail(int reason, const std::string& path) {
    throw std::system_error(reason, std::generic_category(), path);
}

/// What the file holds, up to one byte more than JSON may have.
std::string contentsOf(const std::string& path) {
    // Without O_NONBLOCK, to open a named pipe waits for its writer.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (file.get() < 0 || fstat(file.get(), &status) != 0) {
        fail(errno, path);
    }
    if (S_ISDIR(status.st_mode)) {
        fail(EISDIR, path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw std::runtime_error(path + ": not a regular file");
    }
    std::string contents(std::min(static_cast<std::size_t>(status.st_size), greatestJSONLength + 1),
                         '\0');
    std::size_t length = 0;
    while (length < contents.size()) {
        const ssize_t count = read(file.get(), contents.data() + length, contents.size() - length);
        if (count < 0 && errno != EINTR) {
            fail(errno, path);
        }
        if (count == 0) { // it was cut short meanwhile
            contents.resize(length);
        }
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return contents;
}

} // namespace

JSONValue readJSONFile(const std::string& path) {
    try {
        return readJSON(contentsOf(path));
    } catch (const JSONTextError& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

} // namespace AmbrelKit
