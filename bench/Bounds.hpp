#ifndef AMBRELKIT_BENCH_BOUNDS_HPP
#define AMBRELKIT_BENCH_BOUNDS_HPP

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <limits>
#include <string>

namespace AmbrelKit::Bench {

/// Whether a bound was exceeded: the program then fails.
inline bool exceeded = false;

/// Shows `value`, and fails where it is above `bound`.
inline void hold(benchmark::State& bench, const std::string& name, double value, double bound) {
    bench.counters[name] = value;
    if (bound < std::numeric_limits<double>::infinity()) {
        bench.counters["bound"] = bound;
    }
    if (!(value <= bound)) {
        exceeded = true;
        bench.SkipWithError(
            (name + " is " + std::to_string(value) + ", more than allowed").c_str());
    }
}

/// The least CPU time of several runs: the one that was disturbed least.
class LeastTime {
public:
    template <class Work> void run(int times, Work& work) {
        const std::clock_t start = std::clock();
        for (int i = 0; i < times; ++i) {
            work();
        }
        last_ = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        least_ = std::min(least_, last_);
    }

    [[nodiscard]] double last() const { return last_; }
    [[nodiscard]] double least() const { return least_; }

private:
    double last_ = 0;
    double least_ = std::numeric_limits<double>::infinity();
};

/// Does work and floor in turns, so many times each, so that what disturbs one disturbs the other;
/// shows what each takes at least, in seconds, and holds the ratio.
template <class Work, class Floor>
void beside(benchmark::State& bench, double bound, int times, Work work, Floor floor) {
    LeastTime works;
    LeastTime floors;
    for ([[maybe_unused]] auto _ : bench) {
        floors.run(times, floor);
        works.run(times, work);
        bench.SetIterationTime(works.last());
    }
    bench.counters["each"] = works.least() / times;
    bench.counters["floor"] = floors.least() / times;
    hold(bench, "ratio", works.least() / floors.least(), bound);
}

inline int runBenchmarks(int count, char** arguments) {
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return exceeded ? 1 : 0;
}

} // namespace AmbrelKit::Bench

#endif
