#include "AmbrelKit/Linux/Location/DesktopId.hpp"

#include "AmbrelKit/Linux/Libraries/Systemd.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace AmbrelKit::Linux {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// Undoes systemd's `\x2d` for a byte that may not stand in a unit's name.
std::string unescaped(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        unsigned char byte = 0;
        const char* digits = text.data() + 2;
        if (text.starts_with("\\x") && text.size() >= 4 &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            plain.push_back(static_cast<char>(byte));
            text.remove_prefix(4);
        } else {
            plain.push_back(text.front());
            text.remove_prefix(1);
        }
    }
    return plain;
}

/// Whoever is started from a program inherits its environment, but not its process id.
std::string launchedDesktopFile() {
    return environment("GIO_LAUNCHED_DESKTOP_FILE_PID") == std::to_string(getpid())
               ? std::filesystem::path(environment("GIO_LAUNCHED_DESKTOP_FILE")).stem().string()
               : "";
}

/// What runs in a terminal is in the terminal's unit.
std::string applicationOfThisUnit() {
    const Descriptor terminal(open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC));
    char* unit = nullptr;
    if (terminal.get() >= 0 || sd_pid_get_user_unit(0, &unit) < 0) {
        return {};
    }
    const std::string application = applicationOfUnit(unit);
    std::free(unit);
    return application;
}

} // namespace

std::string applicationOfUnit(std::string_view unit) {
    constexpr std::string_view prefix = "app-";
    const bool isScope = unit.ends_with(".scope");
    if (!unit.starts_with(prefix) || !(isScope || unit.ends_with(".service"))) {
        return {};
    }
    unit = unit.substr(prefix.size(), unit.rfind('.') - prefix.size());
    const auto random = isScope ? unit.rfind('-') : std::min(unit.find('@'), unit.size());
    if (random == std::string_view::npos) {
        return {};
    }
    unit = unit.substr(0, random);
    return unescaped(unit.substr(unit.rfind('-') + 1)); // without who launched it
}

std::string desktopId(const LocationOptions& options) {
    if (!options.desktopId.empty()) {
        return options.desktopId;
    }
    for (const std::string& id :
         {Bundle::main().identifier().value_or(""), environment("FLATPAK_ID"),
          launchedDesktopFile(), applicationOfThisUnit()}) {
        if (!id.empty()) {
            return repairedUTF8(id);
        }
    }
    return repairedUTF8(program_invocation_short_name);
}

} // namespace AmbrelKit::Linux
