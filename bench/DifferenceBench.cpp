// What a difference costs: its time, the length of its text and the memory that it takes at most.

#include <AmbrelKit/Difference.hpp>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

namespace {

std::size_t allocated = 0; // bytes
std::size_t peak = 0;

constexpr std::size_t header = 16; // before each allocation: its size

} // namespace

void* operator new(std::size_t size) {
    auto* memory = static_cast<std::size_t*>(std::malloc(size + header));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    *memory = size;
    allocated += size;
    peak = std::max(peak, allocated);
    return reinterpret_cast<char*>(memory) + header;
}

void operator delete(void* memory) noexcept {
    if (memory != nullptr) {
        auto* begin = reinterpret_cast<std::size_t*>(static_cast<char*>(memory) - header);
        allocated -= *begin;
        std::free(begin);
    }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }

namespace {

using namespace AmbrelKit;

template <class Value>
void measure(benchmark::State& bench, const Value& before, const Value& after) {
    const std::size_t begin = peak = allocated;
    std::size_t length = 0;
    for (auto _ : bench) {
        length = difference(before, after).size();
    }
    bench.counters["text"] = static_cast<double>(length);
    bench.counters["memory"] = static_cast<double>(peak - begin);
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
