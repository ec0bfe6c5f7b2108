// The kit: what a facade does when its host or its platform calls it.

#include "tests/replay/Model.hpp"

#include "tests/replay/ModelState.hpp"

namespace ReplayModel {

/// The facade is gone, and with it all that reported to it.
void Model::letGo(std::size_t facade) {
    disableObserver(facades_[facade]);
    facades_[facade].timerRuns = false;
}

void Model::create() {
    if (!facades_.empty() && std::exchange(host().held, false) && !host().alive()) {
        letGo(facades_.size() - 1);
    }
    facades_.emplace_back().hasDelegate = true;
}

void Model::hostCall(const json& call, std::size_t line) {
    if (call == "create") {
        return create();
    }
    if (!host().held) {
        throw WrongLine{line};
    }
    const std::size_t facade = facades_.size() - 1;
    if (call == "release") {
        host().held = false;
        if (!host().alive()) {
            letGo(facade);
        }
    } else if (call == "startScanning" || call == "startScanningOnce") {
        onStack(facade, [&] { scan(facade, call == "startScanning"); });
    } else if (call == "completeScanning") {
        endTask(host());
    } else if (call == "stopScanning") {
        stopCollecting(facade);
        disableObserver(facades_[facade]);
        endTask(facades_[facade]);
    } else if (call.is_string()) {
        enable(facade, true);
    } else if (call.contains("delegate")) {
        host().hasDelegate = call["delegate"] == "attached";
    } else if (const auto threshold = call["setAmbrelTimeThreshold"].get<std::int64_t>();
               threshold >= 0 && threshold <= 30) {
        threshold_ = threshold;
    } else {
        write(R"("host":"setAmbrelTimeThreshold",)"
              R"("error":"Threshold must be more than 0 and less than 30")");
    }
}

bool Model::granted(std::size_t facade, const char* query) {
    if (!facades_[facade].alive() || !facades_[facade].hasDelegate) {
        return false;
    }
    if (queries_) {
        write("delegate", query);
    }
    return statuses_[query] == "granted" || statuses_[query] == 1;
}

json Model::analytics() {
    static const std::array<std::pair<const char*, const char*>, 7> fields{
        {{"bluetooth_permission", "bluetoothPermissionStatus"},
         {"bluetooth_setting", "bluetoothSettingStatus"},
         {"network_permission", "networkPermissionStatus"},
         {"network_setting", "networkSettingStatus"},
         {"location_permission", "locationPermissionStatus"},
         {"location_precise_permission", "locationPrecisePermissionStatus"},
         {"location_setting", "locationSettingStatus"}}};
    json result = json::object();
    const bool answered = facades_.back().alive() && facades_.back().hasDelegate;
    for (const auto& [field, query] : fields) {
        if (grantedToNewest(query)) {
            result[field] = true;
        } else if (answered && (statuses_[query] == "denied" || statuses_[query] == 2)) {
            result[field] = false;
        }
    }
    return result;
}

std::string Model::newIdentifier() {
    if (identifiersUsed_ < identifiers_.size()) {
        return identifiers_[identifiersUsed_++];
    }
    return "number " + std::to_string(++identifierCount_);
}

Record Model::newRecord() {
    Record record;
    record.id = newIdentifier();
    record.createdAt = wallClock();
    record.form["wifiNetwork"]["connectedDevices"] = json::array();
    record.form["ambrel_analytics"] = analytics();
    return record;
}

Record* Model::currentRecord(Facade& facade) {
    const bool open = !facade.records.empty() &&
                      wallClock() - facade.records.back().createdAt <= collectionPeriod;
    return open ? &facade.records.back() : nullptr;
}

void Model::scan(std::size_t index, bool automatic) {
    Facade& facade = facades_[index];
    if (facade.finished && wallClock() - facade.finished->createdAt <= threshold_ * second) {
        return finish(index, facade.finished->dictionary());
    }
    if (currentRecord(facade) != nullptr) {
        return;
    }
    Record record = newRecord();
    auto& records = facades_[index].records;
    std::erase_if(records, [&](const Record& other) { return other.id == record.id; });
    const auto place =
        std::upper_bound(records.begin(), records.end(), record.createdAt,
                         [](std::int64_t time, const Record& b) { return time < b.createdAt; });
    records.insert(place, record);
    facades_[index].finished.reset();
    startCollecting(index, automatic);
}

void Model::startCollecting(std::size_t facade, bool automatic) {
    if (!granted(facade, "bluetoothPermissionStatus") &&
        !granted(facade, "locationPermissionStatus") &&
        !granted(facade, "networkPermissionStatus")) {
        return deliver(facade, newRecord().dictionary());
    }
    if (facades_[facade].hasTimer) {
        write("timer", "invalidate");
    }
    write(R"("timer":"schedule","interval":1.0,"repeats":true)");
    facades_[facade].hasTimer = true;
    facades_[facade].timerRuns = true;
    facades_[facade].nextFire = now_ + second;
    enable(facade, automatic);
    if (grantedToNewest("bluetoothPermissionStatus")) {
        write("bluetooth", "create");
        facades_[facade].radio = ++radios_;
        facades_[facade].hearsRadio = true;
    }
    if (grantedToNewest("locationPermissionStatus")) {
        write("location", "create");
        facades_[facade].locator = ++locators_;
        facades_[facade].hearsLocator = true;
    }
    if (grantedToNewest("networkPermissionStatus")) {
        for (const std::string& type : bonjourServices_) {
            write("bonjour", "create");
            facades_[facade].browsed.push_back(type);
            write(R"("bonjour":"searchForServicesOfType","type":)" + json(type).dump() +
                  R"(,"domain":"")");
        }
    }
}

void Model::stopCollecting(std::size_t index) {
    Facade& facade = facades_[index];
    if (facade.hasTimer) {
        write("timer", "invalidate");
        facade.timerRuns = false;
    }
    if (grantedToNewest("bluetoothPermissionStatus")) {
        if (facade.radio == 0) {
            write("bluetooth", "create");
            facade.radio = ++radios_;
        }
        write("bluetooth", "stopScan");
        facade.hearsRadio = false;
    }
    if (grantedToNewest("locationPermissionStatus")) {
        if (facade.locator == 0) {
            write("location", "create");
            facade.locator = ++locators_;
        }
        write("location", "stopUpdatingLocation");
        facade.hearsLocator = false;
    }
    if (grantedToNewest("networkPermissionStatus")) {
        facade.browsed.clear();
        facade.heard.clear();
    }
}

void Model::finish(std::size_t facade, const json& data) {
    facades_[facade].finished = facades_[facade].records.back();
    stopCollecting(facade);
    deliver(facade, data);
}

void Model::deliver(std::size_t facade, const json& data) {
    if (!facades_[facade].hasDelegate) {
        return;
    }
    write(R"("delegate":"didReceiveUpdateWithCollectedData","data":)" + data.dump());
    if (const auto calls = std::exchange(onDelivery_, std::nullopt)) {
        for (const json& call : calls->first) {
            hostCall(call, calls->second);
        }
    }
}

void Model::disableObserver(Facade& facade) {
    if (std::exchange(facade.observes, false)) {
        write("notification", "removeObserver");
    }
}

void Model::endTask(Facade& facade) {
    if (const auto task = std::exchange(facade.task, std::nullopt);
        task && tasks_.erase(*task) > 0) {
        write(R"("application":"endBackgroundTask","identifier":)" + std::to_string(*task));
    }
}

void Model::enable(std::size_t index, bool automatic) {
    Facade& facade = facades_[index];
    disableObserver(facade);
    if (automatic) {
        write("notification", "addObserver");
        facade.observes = true;
    }
    endTask(facade);
    if (automatic) {
        facade.task = ++taskCount_;
        tasks_[taskCount_] = index;
        write(R"("application":"beginBackgroundTask","identifier":)" + std::to_string(taskCount_) +
              R"(,"name":"org.ambrelkit.AmbrelKit.backgroundTask")");
    }
}

Outcome run(const std::vector<std::string>& lines, bool queries) {
    Model model(json::parse(lines.front()), queries);
    try {
        for (std::size_t i = 1; i < lines.size() && model.step(json::parse(lines[i]), i + 1); ++i) {
        }
    } catch (const WrongLine& wrong) {
        return {model.trace, wrong.number};
    }
    return {model.trace, std::nullopt};
}

} // namespace ReplayModel
