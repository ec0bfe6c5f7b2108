#ifndef AMBRELKIT_LINUX_LOCATION_GPSDREPORT_HPP
#define AMBRELKIT_LINUX_LOCATION_GPSDREPORT_HPP

#include "AmbrelKit/Platform/LocationManager.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace AmbrelKit::Linux {

/// Cuts a stream of bytes into lines. A line that is longer than any report is skipped, so that a
/// peer cannot make it grow.
class LineSplitter {
public:
    static constexpr std::size_t longestLine = 65536;

    /// Gives each line that `bytes` completes to `receive`, without its newline.
    template <class Receive> void feed(std::string_view bytes, const Receive& receive) {
        while (!bytes.empty()) {
            const auto end = bytes.find('\n');
            append(bytes.substr(0, end));
            if (end == std::string_view::npos) {
                return;
            }
            if (!skipping_) {
                receive(std::string_view(line_));
            }
            clear();
            bytes.remove_prefix(end + 1);
        }
    }

    /// Forgets what has come of an unfinished line.
    void clear() {
        line_.clear();
        skipping_ = false;
    }

private:
    void append(std::string_view piece) {
        skipping_ = skipping_ || line_.size() + piece.size() > longestLine;
        if (!skipping_) {
            line_.append(piece);
        }
    }

    std::string line_;
    bool skipping_ = false;
};

/// The fix in one line of gpsd's: a TPV report of mode 2 or 3 with a place on Earth. A report
/// without a time that can be read was determined `now`.
std::optional<LocationFix> fixFromGpsdReport(std::string_view line,
                                             std::chrono::system_clock::time_point now);

/// A point in time as gpsd writes it: `2024-02-29T23:59:59.250Z`, with any number of decimals.
/// Digits below a nanosecond are cut off.
std::optional<std::chrono::system_clock::time_point> timeFromGpsd(std::string_view text);

} // namespace AmbrelKit::Linux

#endif
