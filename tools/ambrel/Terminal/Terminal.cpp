#include "tools/ambrel/Terminal/Terminal.hpp"

#include <sys/ioctl.h>
#include <sys/stat.h>

namespace Ambrel {

std::optional<std::size_t> terminalColumns(int descriptor) {
    winsize size{};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? std::optional<std::size_t>(size.ws_col) : std::nullopt;
}

bool isPipe(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 &&
           (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

} // namespace Ambrel
