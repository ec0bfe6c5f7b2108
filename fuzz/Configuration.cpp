// What a configuration file may have, and whether it is printed so that it reads back to the same.

#include "tools/ambrel/Arguments/TOML.hpp"

#include <cstdint>
#include <cstdlib>

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Ambrel;
    std::vector<Setting> settings;
    try {
        settings = readTOML({reinterpret_cast<const char*>(data), size});
    } catch (const TOMLError&) {
        return 0;
    }
    for (const Setting& setting : settings) {
        for (const std::string& value : setting.values) {
            if (readTOML("a = " + quotedForTOML(value)).front().values.front() != value) {
                std::abort();
            }
        }
    }
    return 0;
}
