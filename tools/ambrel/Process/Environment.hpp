#ifndef AMBREL_ENVIRONMENT_HPP
#define AMBREL_ENVIRONMENT_HPP

#include <cstdlib>
#include <string>

namespace Ambrel {

/// The value of an environment variable; empty where it is not set.
inline std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace Ambrel

#endif
