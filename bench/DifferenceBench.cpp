// What a difference costs, and how long its text is.

#include <AmbrelKit/Difference.hpp>

#include <benchmark/benchmark.h>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace AmbrelKit;

template <class Value>
void measure(benchmark::State& bench, const Value& before, const Value& after) {
    std::size_t length = 0;
    for (auto _ : bench) {
        length = difference(before, after).size();
    }
    bench.counters["text"] = static_cast<double>(length);
}

void BM_OnePeripheralGone(benchmark::State& bench) {
    JSONValue list = JSONValue::array();
    for (std::int64_t i = 0; i < bench.range(0); ++i) {
        list.push_back({{"address", "00000000-0000-4000-8000-" + std::to_string(i)},
                        {"name", "Peripheral number " + std::to_string(i)},
                        {"timestamp", 1'700'000'000}});
    }
    const JSONDictionary before{{"bleScan", list}};
    list.erase(list.size() / 2);
    measure(bench, before, JSONDictionary{{"bleScan", list}});
}
BENCHMARK(BM_OnePeripheralGone)->Arg(1000)->Arg(10'000);

void BM_HalfOfAListDiffers(benchmark::State& bench) {
    std::vector<std::int64_t> before;
    for (std::int64_t i = 0; i < bench.range(0); ++i) {
        before.push_back(i);
    }
    auto after = before;
    for (std::size_t i = 0; i < after.size(); i += 2) {
        after[i] = -after[i] - 1;
    }
    measure(bench, before, after);
}
BENCHMARK(BM_HalfOfAListDiffers)->Arg(5000)->Arg(50'000);

/// The worst case: everything occurs again and again, and little stands in the same order.
void BM_ListsOfFewValues(benchmark::State& bench) {
    std::mt19937 random(1);
    std::vector<std::uint32_t> lists[2];
    for (auto& list : lists) {
        for (std::int64_t i = 0; i < bench.range(0); ++i) {
            list.push_back(random() % 4);
        }
    }
    measure(bench, lists[0], lists[1]);
}
BENCHMARK(BM_ListsOfFewValues)->Arg(5000)->Arg(50'000);

} // namespace

BENCHMARK_MAIN();
