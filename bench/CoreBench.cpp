// What an event costs: beside an ordered map in the same run, and against itself with more to hold.

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/DataStore.hpp"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <malloc.h>
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

/// What is kept of a collection: beside the bytes of what is new in each, and of what repeats.
void BM_KeptCollection(benchmark::State& bench) {
    constexpr int collections = 1000;
    const bool repeats = bench.range(0) == 1;
    const auto heard = bench.range(1);
    std::vector<NearbyDevice> services;
    for (int i = 0; i < 10; ++i) {
        services.push_back({.name = "Service number " + std::to_string(i),
                            .protocolType = "_ipp._tcp.",
                            .addressIPv4 = "192.168.1.23",
                            .txtRecord = std::map<Text, Text>{{"txtvers", "1"}, {"ty", "Laser"}},
                            .timestamp = start});
    }
    for (auto _ : bench) {
        const auto store = storeWith({});
        auto now = start;
        Environment::shared().currentDate = [&now] { return now; };
        const auto before = mallinfo2().uordblks;
        auto list = peripherals(50);
        for (int i = 0; i < collections; ++i) {
            now += std::chrono::seconds(60);
            store->sendEvent(DataEvents::scan{ScanningMode::once});
            for (auto& peripheral : list) {
                if (!repeats) {
                    peripheral.identifier = UUID::random();
                }
                peripheral.timestamp = now;
                for (std::int64_t time = 0; time < heard; ++time) {
                    store->sendEvent(DataEvents::didDiscoverBluetoothPeripheral{
                        {peripheral.identifier, Text(std::string(peripheral.name->string())),
                         now}});
                }
            }
            for (auto& service : services) {
                store->sendEvent(DataEvents::didDiscoverNearbyDevice{
                    {.name = std::string(service.name.string()),
                     .protocolType = "_ipp._tcp.",
                     .addressIPv4 = "192.168.1.23",
                     .txtRecord = std::map<Text, Text>{{"txtvers", "1"}, {"ty", "Laser"}},
                     .timestamp = now}});
            }
        }
        bench.counters["bytes"] = static_cast<double>(mallinfo2().uordblks - before) / collections;
    }
}
BENCHMARK(BM_KeptCollection)
    ->ArgNames({"repeats", "heard"})
    ->Args({0, 1})
    ->Args({1, 1})
    ->Args({1, 10})
    ->Iterations(1);

} // namespace

BENCHMARK_MAIN();
