// What reading the store costs for each file: beside a loop that only reads and parses the same
// files, in the same run.

#include "bench/Bounds.hpp"
#include "bench/FilledStore.hpp"

namespace {

using namespace AmbrelKit::Bench;

/// Arguments: peripherals in each file.
void BM_SavedCollections(benchmark::State& bench) {
    constexpr int files = 2000;
    const FilledStore store(files, static_cast<int>(bench.range(0)));
    beside(
        bench, 2, 1, [] { benchmark::DoNotOptimize(FilledStore::read()); },
        [] { benchmark::DoNotOptimize(FilledStore::readPlainly()); });
    bench.counters["per file"] = benchmark::Counter(
        files, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_SavedCollections)
    ->Arg(0)
    ->Arg(10)
    ->Arg(100)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int count, char** arguments) { return runBenchmarks(count, arguments); }
