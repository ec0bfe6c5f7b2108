#include "tools/ambrel/InputFile.hpp"

#include "tools/ambrel/Commands.hpp"

#include <cerrno>
#include <iostream>
#include <system_error>

namespace Ambrel {

InputFile::InputFile(const std::string& argument)
    : name_(argument == "-" ? "standard input" : argument) {
    if (argument == "-") {
        // Else a failure to read looks like the end, and each character is asked for by itself.
        std::ios::sync_with_stdio(false);
        return;
    }
    file_.open(argument, std::ios::binary);
    if (!file_) {
        throw CommandError(failed, name_ + ": " + std::generic_category().message(errno));
    }
}

std::istream& InputFile::stream() {
    return file_.is_open() ? static_cast<std::istream&>(file_) : std::cin;
}

} // namespace Ambrel
