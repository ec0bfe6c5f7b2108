// What an event costs: beside an ordered map in the same run, and against itself with more to hold.

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/DataStore.hpp"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace AmbrelKit;

const std::chrono::system_clock::time_point start{std::chrono::seconds(1'700'000'000)};

std::vector<BluetoothPeripheral> peripherals(std::int64_t count) {
    std::mt19937_64 random(1);
    std::vector<BluetoothPeripheral> list;
    for (std::int64_t i = 0; i < count; ++i) {
        UUID::Bytes bytes{};
        for (std::size_t half = 0; half < bytes.size(); half += sizeof(std::uint64_t)) {
            const std::uint64_t word = random();
            std::memcpy(bytes.data() + half, &word, sizeof word);
        }
        list.push_back({UUID(bytes), "Peripheral number " + std::to_string(i), start});
    }
    return list;
}

/// A store with so many earlier collections, and one open that holds the peripherals.
std::shared_ptr<DataStore> storeWith(const std::vector<BluetoothPeripheral>& list,
                                     std::int64_t earlierCollections = 0) {
    State state = State::initialState();
    for (std::int64_t i = 0; i < earlierCollections; ++i) {
        state.collectedData = state.collectedData.appending(AmbrelData::new_(
            UUID::random(), start - std::chrono::seconds(20 * (earlierCollections - i))));
    }
    auto store = std::make_shared<DataStore>(
        state, std::make_shared<DataReducer>(),
        DataEnvironment{[](ScanningMode) {}, [] {}, [](const JSONDictionary&) {}});
    Environment::shared().currentDate = [] { return start; };
    store->sendEvent(DataEvents::scan{ScanningMode::once});
    for (const auto& peripheral : list) {
        store->sendEvent(DataEvents::didDiscoverBluetoothPeripheral{peripheral});
    }
    return store;
}

void sendDiscoveries(benchmark::State& bench, std::int64_t held, std::int64_t earlier) {
    const auto list = peripherals(held);
    const auto store = storeWith(list, earlier);
    std::vector<DataEvent> events;
    events.reserve(list.size());
    for (const auto& peripheral : list) {
        events.emplace_back(DataEvents::didDiscoverBluetoothPeripheral{peripheral});
    }
    std::mt19937 random(2);
    for (auto _ : bench) {
        store->sendEvent(events[random() % events.size()]);
    }
}

void BM_OrderedMapUpsert(benchmark::State& bench) {
    const auto list = peripherals(bench.range(0));
    std::map<UUID, BluetoothPeripheral> map;
    for (const auto& peripheral : list) {
        map.insert_or_assign(peripheral.identifier, peripheral);
    }
    std::mt19937 random(2);
    for (auto _ : bench) {
        const auto& peripheral = list[random() % list.size()];
        map.insert_or_assign(peripheral.identifier, peripheral);
    }
}
BENCHMARK(BM_OrderedMapUpsert)->Arg(100)->Arg(1000)->Arg(10'000);

void BM_DiscoveryEvent(benchmark::State& bench) { sendDiscoveries(bench, bench.range(0), 0); }
BENCHMARK(BM_DiscoveryEvent)->Arg(100)->Arg(1000)->Arg(10'000);

void BM_DiscoveryEventAfterCollections(benchmark::State& bench) {
    sendDiscoveries(bench, 1000, bench.range(0));
}
BENCHMARK(BM_DiscoveryEventAfterCollections)->Arg(0)->Arg(100'000);

} // namespace

BENCHMARK_MAIN();
