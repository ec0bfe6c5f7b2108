// What a gpsd, or whoever listens in its place, may send.

#include "AmbrelKit/Linux/Location/GpsdReport.hpp"

#include <cmath>
#include <cstdint>
#include <cstdlib>

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace AmbrelKit::Linux;
    LineSplitter lines;
    lines.feed({reinterpret_cast<const char*>(data), size}, [](std::string_view line) {
        const auto fix = fixFromGpsdReport(line, {});
        if (fix && !(std::abs(fix->coordinate.latitude) <= 90 &&
                     std::abs(fix->coordinate.longitude) <= 180)) {
            std::abort();
        }
    });
    return 0;
}
