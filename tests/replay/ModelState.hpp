#ifndef AMBREL_TESTS_REPLAY_MODELSTATE_HPP
#define AMBREL_TESTS_REPLAY_MODELSTATE_HPP

#include "tests/replay/ModelValues.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ReplayModel {

inline constexpr std::int64_t collectionPeriod = 10 * second;

/// A record: its JSON form but for the lists, which are in order only when it is written.
struct Record {
    std::string id;
    std::int64_t createdAt = 0;
    json form;
    std::map<std::string, json> peripherals;                                     ///< by identifier
    std::map<std::string, std::pair<std::array<std::string, 2>, json>> services; ///< by type + name
    bool finite = true;

    [[nodiscard]] json dictionary() const {
        json result = form;
        result["timestamp"] = createdAt / second;
        result["bleScan"] = json::array();
        for (const auto& [identifier, peripheral] : peripherals) {
            result["bleScan"].push_back(peripheral);
        }
        auto ordered = std::vector<std::pair<std::array<std::string, 2>, json>>();
        for (const auto& [key, service] : services) {
            ordered.push_back(service);
        }
        std::sort(ordered.begin(), ordered.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        result["nearbyDevices"] = json::array();
        for (const auto& [order, service] : ordered) {
            result["nearbyDevices"].push_back(service);
        }
        return result;
    }
};

struct Facade {
    bool held = true; ///< by the host
    int onStack = 0;
    bool hasDelegate = false;
    std::vector<Record> records;
    std::optional<Record> finished;
    bool hasTimer = false;
    bool timerRuns = false;
    std::int64_t nextFire = 0;
    bool observes = false;
    std::optional<std::int64_t> task;
    int radio = 0; ///< the number of its Bluetooth manager, 0 for none
    bool hearsRadio = false;
    int locator = 0;
    bool hearsLocator = false;
    std::vector<std::string> browsed;                    ///< types of its browsers, oldest first
    std::set<std::pair<std::string, std::string>> heard; ///< services that report to it

    [[nodiscard]] bool alive() const { return held || onStack > 0; }
};

struct WrongLine {
    std::size_t number;
};

class Model {
public:
    Model(const json& header, bool queries)
        : start_(nanoseconds(header.value("start", json(0)))), queries_(queries) {
        const json types = header.value("bonjourServices", json());
        for (const json& type : types.is_null() ? json::array() : types) {
            bonjourServices_.push_back(type);
        }
        for (const json& identifier : header.value("identifiers", json::array())) {
            identifiers_.push_back(upperCase(identifier));
        }
        create();
    }

    bool step(const json& step, std::size_t line);
    std::string trace;

private:
    void write(const std::string& rest) {
        trace.append("{\"at\":").append(seconds(now_)).append(",").append(rest).append("}\n");
    }
    void write(const char* object, const char* operation) {
        write(json(object).dump() + ":" + json(operation).dump());
    }
    [[nodiscard]] std::int64_t wallClock() const { return start_ + now_ + offset_; }
    [[nodiscard]] json timestamp() const { return wallClock() / second; }
    Facade& host() { return facades_.back(); }

    template <class Call> void onStack(std::size_t facade, Call call);
    void letGo(std::size_t facade);
    void create();
    void hostCall(const json& call, std::size_t line);

    bool granted(std::size_t facade, const char* query);
    bool grantedToNewest(const char* query) { return granted(facades_.size() - 1, query); }
    json analytics();
    std::string newIdentifier();
    Record newRecord();

    Record* currentRecord(Facade& facade);
    void scan(std::size_t index, bool automatic);
    template <class Change> void event(std::size_t index, Change change);
    void startCollecting(std::size_t facade, bool automatic);
    void stopCollecting(std::size_t index);
    void deliver(std::size_t facade, const json& data);
    void finish(std::size_t facade, const json& data);
    void enable(std::size_t index, bool automatic);
    void disableObserver(Facade& facade);
    void endTask(Facade& facade);
    void tick(std::size_t facade);

    void bluetooth(const json& report);
    void bonjour(const json& report);
    void resolved(const json& report, std::size_t facade);
    void location(const json& report);
    void application(const json& action);

    std::int64_t start_;
    bool queries_;
    std::vector<std::string> bonjourServices_;
    std::vector<std::string> identifiers_;
    std::size_t identifiersUsed_ = 0;
    int identifierCount_ = 0;
    std::int64_t now_ = 0;
    std::int64_t offset_ = 0;
    std::int64_t threshold_ = 30;
    std::map<std::string, json> statuses_;
    std::vector<Facade> facades_;
    std::optional<std::pair<json, std::size_t>> onDelivery_;
    int radios_ = 0;
    int locators_ = 0;
    std::map<std::pair<std::string, std::string>, json> found_; ///< services, with what they tell
    std::map<std::int64_t, std::size_t> tasks_; ///< begun and not ended: of which facade
    std::int64_t taskCount_ = 0;
    json interfaces_ = json::array();
    json captive_ = json::object();
};

template <class Call> void Model::onStack(std::size_t facade, Call call) {
    ++facades_[facade].onStack;
    call();
    --facades_[facade].onStack;
    if (!facades_[facade].alive()) {
        letGo(facade);
    }
}

template <class Change> void Model::event(std::size_t index, Change change) {
    Facade& facade = facades_[index];
    facade.finished.reset();
    if (Record* record = currentRecord(facade)) {
        change(*record);
    } else if (!facade.records.empty() && facade.records.back().finite) {
        finish(index, facade.records.back().dictionary());
    }
}

} // namespace ReplayModel

#endif
