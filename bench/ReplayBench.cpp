// A replay of many sightings within one collection, against what the JSON library alone takes to
// parse the same lines.

#include "AmbrelKit/Simulated/Replay/Replay.hpp"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <istream>
#include <nlohmann/json.hpp>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int stepCount = 1'000'000;
constexpr int peripheralCount = 1'000;

std::string sighting(int index) {
    constexpr std::size_t longest = 160;
    const int peripheral = index % peripheralCount;
    std::string line(longest, '\0');
    const int length = std::snprintf(
        line.data(), line.size(),
        R"({"at":%.6f,"bluetooth":{"discover":{"identifier":"3CEB3FFD-1111-4222-8333-%012X","name":"Sensor %d"}}})"
        "\n",
        0.1 + 9.8 * index / stepCount, static_cast<unsigned>(peripheral), peripheral);
    line.resize(static_cast<std::size_t>(length));
    return line;
}

std::string makeScript() {
    std::string script = R"({"ambrelReplay":1,"start":1700000000}
{"at":0,"statuses":{"bluetoothPermissionStatus":"granted"}}
{"at":0,"host":"startScanning"}
{"at":0,"bluetooth":{"state":5}}
)";
    for (int index = 0; index < stepCount; ++index) {
        script += sighting(index);
    }
    return script + "{\"at\":11,\"end\":true}\n";
}

const std::string& script() {
    static const std::string text = makeScript();
    return text;
}

/// The script's text as a stream, without another copy of it.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(const std::string& text) {
        char* const begin = const_cast<char*>(text.data()); // only read
        setg(begin, begin, begin + text.size());
    }
};

std::chrono::duration<double> parseTime() {
    const auto start = std::chrono::steady_clock::now();
    const std::string_view text = script();
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        benchmark::DoNotOptimize(nlohmann::json::parse(text.begin() + begin, text.begin() + end));
        begin = end + 1;
    }
    return std::chrono::steady_clock::now() - start;
}

std::chrono::duration<double> replayTime(std::size_t& printed) {
    const auto start = std::chrono::steady_clock::now();
    TextBuffer buffer(script());
    std::istream stream(&buffer);
    AmbrelKit::Simulated::replay(stream, {.quiet = true},
                                 [&](std::string_view line) { printed += line.size(); });
    return std::chrono::steady_clock::now() - start;
}

/// `ratio` is the replay's time over the parser's; at most 3 is wanted.
void millionSightings(benchmark::State& state) {
    std::chrono::duration<double> parsing{};
    std::chrono::duration<double> replaying{};
    for ([[maybe_unused]] auto _ : state) {
        std::size_t printed = 0;
        parsing += parseTime();
        const auto time = replayTime(printed);
        replaying += time;
        state.SetIterationTime(time.count());
        if (printed == 0) {
            state.SkipWithError("nothing was delivered");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * stepCount);
    state.counters["ratio"] = replaying / parsing;
}
BENCHMARK(millionSightings)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

BENCHMARK_MAIN();
