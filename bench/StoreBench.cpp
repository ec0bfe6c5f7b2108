// What reading the store costs for each file: beside a loop that only reads and parses the same
// files, in the same run.

#include <AmbrelKit/AmbrelStorage.hpp>

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <unistd.h>

namespace {

using namespace AmbrelKit;

constexpr int fileCount = 2000;

JSONDictionary collection(int timestamp, std::int64_t peripherals) {
    JSONValue scan = JSONValue::array();
    for (std::int64_t i = 0; i < peripherals; ++i) {
        scan.push_back({{"address", "8B1F0C6E-5D2A-4B7C-9E0F-3A1D5C7E9B2F"},
                        {"name", "Peripheral number " + std::to_string(i)},
                        {"timestamp", timestamp}});
    }
    return {{"timestamp", timestamp},
            {"ip", "192.168.1.23"},
            {"wifiNetwork", {{"connectedDevices", {{{"name", "Birch House"}}}}}},
            {"bleScan", std::move(scan)},
            {"nearbyDevices", JSONValue::array()},
            {"ambrel_analytics", {{"bluetooth_permission", true}}}};
}

/// A store of the benchmark's own, full of files that `save` would write.
class Store {
public:
    explicit Store(std::int64_t peripherals) {
        std::string name = (std::filesystem::temp_directory_path() / "store-bench-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        setenv("AMBREL_DOCUMENTS_DIR", folder_.c_str(), 1);
        std::filesystem::create_directory(AmbrelStorage::path());
        for (int i = 0; i < fileCount; ++i) {
            const auto dictionary = collection(i, peripherals);
            std::ofstream(AmbrelStorage::path() + "/" + *AmbrelStorage::fileName(dictionary))
                << JSONValue(dictionary);
        }
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() { std::filesystem::remove_all(folder_); }

private:
    std::filesystem::path folder_;
};

void countFiles(benchmark::State& bench) {
    bench.counters["per file"] = benchmark::Counter(
        fileCount, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_ReadAndParse(benchmark::State& bench) {
    const Store store(bench.range(0));
    std::vector<char> buffer(1U << 20U);
    for (auto _ : bench) {
        std::vector<JSONValue> list;
        for (const auto& entry : std::filesystem::directory_iterator(AmbrelStorage::path())) {
            const int file = open(entry.path().c_str(), O_RDONLY);
            const ssize_t length = read(file, buffer.data(), buffer.size());
            close(file);
            list.push_back(JSONValue::parse(buffer.data(), buffer.data() + length));
        }
        benchmark::DoNotOptimize(list);
    }
    countFiles(bench);
}
BENCHMARK(BM_ReadAndParse)->Arg(0)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

void BM_SavedCollections(benchmark::State& bench) {
    const Store store(bench.range(0));
    for (auto _ : bench) {
        benchmark::DoNotOptimize(AmbrelStorage::shared().savedCollections());
    }
    countFiles(bench);
}
BENCHMARK(BM_SavedCollections)->Arg(0)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
