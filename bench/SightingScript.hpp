#ifndef AMBRELKIT_BENCH_SIGHTINGSCRIPT_HPP
#define AMBRELKIT_BENCH_SIGHTINGSCRIPT_HPP

#include "AmbrelKit/Simulated/Replay/Replay.hpp"

#include <cstdio>
#include <istream>
#include <nlohmann/json.hpp>
#include <streambuf>
#include <string>
#include <string_view>

namespace AmbrelKit::Bench {

/// A script of so many sightings of a thousand peripherals within one collection.
class SightingScript {
public:
    explicit SightingScript(int steps) {
        text_ = R"({"ambrelReplay":1,"start":1700000000}
{"at":0,"statuses":{"bluetoothPermissionStatus":"granted"}}
{"at":0,"host":"startScanning"}
{"at":0,"bluetooth":{"state":5}}
)";
        for (int step = 0; step < steps; ++step) {
            text_ += sighting(step, 0.1 + 9.8 * step / steps);
        }
        text_ += "{\"at\":11,\"end\":true}\n";
    }

    /// The bytes that a replay of it prints.
    [[nodiscard]] std::size_t replay() const {
        std::size_t printed = 0;
        Buffer buffer(text_);
        std::istream stream(&buffer);
        Simulated::replay(stream, {.quiet = true},
                          [&](std::string_view line) { printed += line.size(); });
        return printed;
    }

    /// The floor: what the JSON library alone takes to parse the same lines. The values in them.
    [[nodiscard]] std::size_t parse() const {
        std::size_t values = 0;
        const std::string_view text = text_;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = text.find('\n', begin);
            values += nlohmann::json::parse(text.begin() + begin, text.begin() + end).size();
            begin = end + 1;
        }
        return values;
    }

private:
    /// The text as a stream, without another copy of it.
    class Buffer : public std::streambuf {
    public:
        explicit Buffer(const std::string& text) {
            char* const begin = const_cast<char*>(text.data()); // only read
            setg(begin, begin, begin + text.size());
        }
    };

    static std::string sighting(int step, double time) {
        constexpr int peripheralCount = 1'000;
        constexpr std::size_t longest = 160;
        const int peripheral = step % peripheralCount;
        std::string line(longest, '\0');
        const int length = std::snprintf(
            line.data(), line.size(),
            R"({"at":%.6f,"bluetooth":{"discover":{"identifier":"3CEB3FFD-1111-4222-8333-%012X","name":"Sensor %d"}}})"
            "\n",
            time, static_cast<unsigned>(peripheral), peripheral);
        line.resize(static_cast<std::size_t>(length));
        return line;
    }

    std::string text_;
};

} // namespace AmbrelKit::Bench

#endif
