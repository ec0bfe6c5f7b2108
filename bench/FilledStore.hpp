#ifndef AMBRELKIT_BENCH_FILLEDSTORE_HPP
#define AMBRELKIT_BENCH_FILLEDSTORE_HPP

#include <AmbrelKit/AmbrelStorage.hpp>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace AmbrelKit::Bench {

/// A store of its own, full of files that `save` would write.
class FilledStore {
public:
    FilledStore(int files, int peripherals) {
        std::string name = (std::filesystem::temp_directory_path() / "store-bench-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        setenv("AMBREL_DOCUMENTS_DIR", folder_.c_str(), 1);
        std::filesystem::create_directory(AmbrelStorage::path());
        for (int i = 0; i < files; ++i) {
            const auto dictionary = collection(i, peripherals);
            std::ofstream(AmbrelStorage::path() + "/" + *AmbrelStorage::fileName(dictionary))
                << JSONValue(dictionary);
        }
    }
    FilledStore(const FilledStore&) = delete;
    FilledStore& operator=(const FilledStore&) = delete;
    ~FilledStore() { std::filesystem::remove_all(folder_); }

    [[nodiscard]] static std::vector<JSONDictionary> read() {
        return AmbrelStorage::shared().savedCollections();
    }

    /// The floor: reading and parsing the same files, and nothing else.
    [[nodiscard]] static std::vector<JSONValue> readPlainly() {
        std::vector<char> buffer(1U << 20U);
        std::vector<JSONValue> list;
        for (const auto& entry : std::filesystem::directory_iterator(AmbrelStorage::path())) {
            const int file = open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
            const ssize_t length = ::read(file, buffer.data(), buffer.size());
            close(file);
            list.push_back(JSONValue::parse(buffer.data(), buffer.data() + length));
        }
        return list;
    }

private:
    static JSONDictionary collection(int timestamp, int peripherals) {
        JSONValue scan = JSONValue::array();
        for (int i = 0; i < peripherals; ++i) {
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

    std::filesystem::path folder_;
};

} // namespace AmbrelKit::Bench

#endif
