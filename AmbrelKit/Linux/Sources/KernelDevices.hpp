#ifndef AMBRELKIT_LINUX_SOURCES_KERNELDEVICES_HPP
#define AMBRELKIT_LINUX_SOURCES_KERNELDEVICES_HPP

#include <filesystem>
#include <string>
#include <system_error>

namespace AmbrelKit::Linux {

/// Whether the kernel has a device of this class, as /sys/class names it.
inline bool kernelHas(const std::string& deviceClass) {
    std::error_code error;
    return !std::filesystem::is_empty("/sys/class/" + deviceClass, error) && !error;
}

} // namespace AmbrelKit::Linux

#endif
