#ifndef AMBREL_TESTS_LIFE_MODELKIT_HPP
#define AMBREL_TESTS_LIFE_MODELKIT_HPP

#include "tests/life/Program.hpp"

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What the model's kits consist of. Plain on purpose, and apart from the kit: it shares no type and
// no code with it.

namespace Life {

inline constexpr int start = 1700000000; // seconds since 1970, as the hosts have it
inline constexpr int granted = 1;

enum Question {
    bluetoothSetting,
    bluetooth,
    locationSetting,
    location,
    precise,
    networkSetting,
    network
};

struct Kit;
struct Store;

struct Delegate {
    int number;
};
struct Timer {
    int due;
    int order;
    std::weak_ptr<Kit> kit;
};
/// Of Bluetooth or of the location, a browser, or a service: each reports to a kit or to none.
struct Object {
    std::weak_ptr<Kit> kit = {};
    std::string type = {};
};
struct Suspender;
struct Observer {
    std::weak_ptr<Suspender> suspender;
    bool registered = true;
};

struct Record {
    int opened; // milliseconds since the start, by the wall clock
    std::array<int, 7> answers{};
    std::map<std::string, std::string> peripherals = {};
    std::map<std::pair<std::string, std::string>, int> services = {};
    std::string fix = {};
    std::string address = {};
};

struct State {
    std::optional<Record> newest;
    std::optional<Record> finished;
};

struct Suspender {
    std::function<void(const char*)> note;
    std::shared_ptr<Store> store;
    std::shared_ptr<Observer> observer = nullptr;

    Suspender(std::function<void(const char*)> note_, std::shared_ptr<Store> store_)
        : note(std::move(note_)), store(std::move(store_)) {}
    Suspender(const Suspender&) = delete;
    Suspender& operator=(const Suspender&) = delete;
    ~Suspender() { disable(); }

    void disable() {
        if (const auto gone = std::exchange(observer, nullptr)) {
            gone->registered = false;
            note("removeObserver");
        }
    }
};

struct Kit {
    std::vector<std::string> types;
    std::weak_ptr<Delegate> delegate = {};
    std::shared_ptr<Timer> timer = nullptr;
    std::shared_ptr<Object> bluetooth = nullptr;
    std::shared_ptr<Object> location = nullptr;
    std::vector<std::shared_ptr<Object>> browsers = {};
    std::vector<std::shared_ptr<Object>> services = {};
    std::optional<int> task = {};
    bool automaticBefore = false; ///< the start at hand
    bool taskBefore = false;
    std::shared_ptr<Store> store = nullptr;
    std::shared_ptr<Suspender> suspender = nullptr;
};

struct Store {
    State state = {};
    std::weak_ptr<Kit> kit;
};

inline std::string seconds(int milliseconds) { // whole ones
    return std::to_string(start + (milliseconds - (milliseconds % 1000 + 1000) % 1000) / 1000);
}

inline std::string json(const Record& record) {
    static constexpr std::array<std::pair<const char*, Question>, 7> keys{
        {{"bluetooth_permission", bluetooth},
         {"bluetooth_setting", bluetoothSetting},
         {"location_permission", location},
         {"location_precise_permission", precise},
         {"location_setting", locationSetting},
         {"network_permission", network},
         {"network_setting", networkSetting}}};
    const auto comma = [](const std::string& list) { return list.empty() ? "" : ","; };
    std::string analytics;
    for (const auto& [key, question] : keys) {
        const int answer = record.answers.at(question);
        if (answer == 1 || answer == 2) {
            analytics +=
                std::string(comma(analytics)) + '"' + key + (answer == 1 ? "\":true" : "\":false");
        }
    }
    std::string peripherals;
    for (const auto& [identifier, rest] : record.peripherals) {
        peripherals += comma(peripherals) + (R"({"address":")" + identifier) + "\"" + rest + "}";
    }
    std::string services;
    for (const auto& [service, at] : record.services) {
        services += comma(services) + (R"({"name":")" + service.second) + R"(","protocolType":")" +
                    service.first + R"(","timestamp":)" + seconds(at) + "}";
    }
    return R"({"ambrel_analytics":{)" + analytics + R"(},"bleScan":[)" + peripherals + "]," +
           (record.address.empty() ? "" : R"("ip":")" + record.address + "\",") +
           (record.fix.empty() ? "" : R"("locationCollection":)" + record.fix + ",") +
           R"("nearbyDevices":[)" + services + R"(],"timestamp":)" + seconds(record.opened) +
           R"(,"wifiNetwork":{"connectedDevices":[]}})";
}

} // namespace Life

#endif
