// What an event costs, beside an ordered map and against itself with more to hold; what a record's
// dictionary costs, beside the same built by hand; what is kept of a collection.

#include "bench/Bounds.hpp"
#include "bench/CoreWork.hpp"

#include <malloc.h>

namespace {

using namespace AmbrelKit;
using namespace AmbrelKit::Bench;

constexpr double noBound = std::numeric_limits<double>::infinity();

/// Arguments: peripherals held, earlier collections, the greatest ratio.
void BM_Event(benchmark::State& bench) {
    const auto held = static_cast<std::size_t>(bench.range(0));
    OpenCollection collection(held, static_cast<std::size_t>(bench.range(1)));
    OrderedMap map(held);
    beside(
        bench, static_cast<double>(bench.range(2)), 10'000, [&] { collection.see(); },
        [&] { map.see(); });
}
BENCHMARK(BM_Event)
    ->ArgNames({"held", "earlier", "bound"})
    ->Args({10, 0, 8})
    ->Args({100, 0, 5})
    ->Args({1000, 0, 3})
    ->Args({10'000, 0, 3})
    ->Args({1000, 10'000, 3})
    ->UseManualTime()
    ->MinTime(2)
    ->Unit(benchmark::kMicrosecond);

void BM_Dictionary(benchmark::State& bench) {
    const AmbrelData record = fullRecord();
    const ByHand byHand;
    beside(
        bench, 1.1, 10, [&] { benchmark::DoNotOptimize(JSONEncoder::serialize(record)); },
        [&] { benchmark::DoNotOptimize(byHand.dictionary()); });
}
BENCHMARK(BM_Dictionary)->UseManualTime()->Unit(benchmark::kMicrosecond);

constexpr std::size_t keptPeripherals = 50;
constexpr std::size_t keptServices = 10;

/// What each collection has that the one before it does not have, where all texts repeat: the
/// identifiers and points in time, and a pointer in the place of each text and TXT record.
constexpr std::size_t distinctContent() {
    constexpr std::size_t identifier = 16;
    constexpr std::size_t time = 8;
    constexpr std::size_t pointer = 8;
    constexpr std::size_t answers = 7;
    return identifier + time + answers + keptPeripherals * (identifier + pointer + time) +
           keptServices * (4 * pointer + time);
}

/// The same texts, as a source would hand them over: in memory of their own.
Text again(const Text& text) { return std::string(text.string()); }

void BM_KeptCollection(benchmark::State& bench) {
    constexpr int collections = 1000;
    const bool repeats = bench.range(0) == 1;
    const auto heard = bench.range(1);
    auto seen = peripherals(keptPeripherals);
    for ([[maybe_unused]] auto _ : bench) {
        ClockedStore store;
        const auto before = mallinfo2().uordblks;
        for (int i = 0; i < collections; ++i) {
            store.now += std::chrono::seconds(60);
            store.scan();
            for (auto& each : seen) {
                each.timestamp = store.now;
                if (!repeats) {
                    each.identifier = UUID::random();
                    each.name = "Stranger " + each.identifier.text().substr(0, 8);
                }
                for (std::int64_t time = 0; time < heard; ++time) {
                    store.see({each.identifier, again(*each.name), each.timestamp});
                }
            }
            for (NearbyDevice device : services(keptServices)) {
                device.timestamp = store.now;
                store.find(device);
            }
        }
        const auto bytes = static_cast<double>(mallinfo2().uordblks - before) / collections;
        bench.counters["bytes"] = bytes;
        bench.counters["content"] = distinctContent();
        hold(bench, "ratio", bytes / static_cast<double>(distinctContent()), repeats ? 2 : noBound);
    }
}
BENCHMARK(BM_KeptCollection)
    ->ArgNames({"repeats", "heard"})
    ->Args({1, 1})
    ->Args({1, 10})
    ->Args({0, 1})
    ->Iterations(1);

} // namespace

int main(int count, char** arguments) { return runBenchmarks(count, arguments); }
