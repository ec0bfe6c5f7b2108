// A replay of a million sightings within one collection, beside what the JSON library alone takes
// to parse the same lines.

#include "bench/Bounds.hpp"
#include "bench/SightingScript.hpp"

namespace {

using namespace AmbrelKit::Bench;

void millionSightings(benchmark::State& bench) {
    const SightingScript script(1'000'000);
    beside(
        bench, 3, 1, [&] { benchmark::DoNotOptimize(script.replay()); },
        [&] { benchmark::DoNotOptimize(script.parse()); });
}
BENCHMARK(millionSightings)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int count, char** arguments) { return runBenchmarks(count, arguments); }
