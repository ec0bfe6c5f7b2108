#ifndef AMBREL_CONFIGURATIONFILE_HPP
#define AMBREL_CONFIGURATIONFILE_HPP

#include "tools/ambrel/Arguments/TOML.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace Ambrel {

/// What a configuration file says.
struct Configuration {
    std::string file = {};    ///< empty: there can be none
    bool isNamed = false;     ///< by the command line or the environment
    std::string refusal = {}; ///< why the file was not read; empty: it was
    std::vector<Setting> settings = {};
};

/// From the file `named` on the command line, else by $AMBREL_CONFIG, else the user's own. Throws
/// `CommandError` with file and line when it is none.
Configuration readConfiguration(const std::string& named);

/// The configuration is wrong at that line.
[[noreturn]] void throwWrong(const Configuration& configuration, std::size_t line,
                             const std::string& reason);

} // namespace Ambrel

#endif
