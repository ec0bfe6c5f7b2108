#include "tools/ambrel/Terminal/Terminal.hpp"

#include "tools/ambrel/Process/Environment.hpp"

#include <charconv>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ambrel {

namespace {

std::optional<std::size_t> columnsAsSet() {
    const std::string text = variable("COLUMNS");
    unsigned short columns = 0; // as many as a terminal can have
    std::from_chars(text.data(), text.data() + text.size(), columns);
    return columns > 0 ? std::optional<std::size_t>(columns) : std::nullopt;
}

} // namespace

std::optional<std::size_t> terminalColumns(int descriptor) {
    winsize size{};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? std::optional<std::size_t>(size.ws_col) : std::nullopt;
}

bool isDrawable(int descriptor) {
    const std::string kind = variable("TERM");
    return isatty(descriptor) == 1 && !kind.empty() && kind != "dumb";
}

bool isPipe(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 &&
           (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

Page page(int descriptor, ColorChoice choice) {
    const auto columns = terminalColumns(descriptor);
    return {.columns = columns ? *columns : columnsAsSet().value_or(unlimited),
            .style = Style(descriptor, choice)};
}

} // namespace Ambrel
