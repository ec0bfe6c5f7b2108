#include "tests/replay/Model.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

namespace ReplayModel {

namespace {

using nlohmann::json;

constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t collectionPeriod = 10 * second;
constexpr const char* taskName = "org.ambrelkit.AmbrelKit.backgroundTask";

std::int64_t nanoseconds(const json& seconds) {
    const double value = seconds.get<double>();
    const double whole = std::trunc(value);
    return static_cast<std::int64_t>(whole) * second + std::llround((value - whole) * 1e9);
}

std::string seconds(std::int64_t nanoseconds) {
    std::string text = std::to_string(nanoseconds / second) + "." +
                       std::to_string(nanoseconds % second + second).substr(1);
    while (text.back() == '0') {
        text.pop_back();
    }
    if (text.back() == '.') {
        text.pop_back();
    }
    return text;
}

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string bytes(const std::string& hex) {
    std::string result;
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        result += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return result;
}

bool isText(const std::string& bytes) { // the library's check of UTF-8 is as good as any
    return json(bytes).dump(-1, ' ', false, json::error_handler_t::ignore) ==
           json(bytes).dump(-1, ' ', false, json::error_handler_t::replace);
}

json txtDictionary(const std::string& record) {
    json dictionary = json::object();
    std::set<std::string> seen;
    for (std::size_t i = 0; i < record.size();) {
        const auto length = static_cast<unsigned char>(record[i]);
        if (i + 1 + length > record.size()) {
            break;
        }
        const std::string pair = record.substr(i + 1, length);
        i += 1U + length;
        const auto equals = pair.find('=');
        const std::string key = pair.substr(0, equals);
        if (key.empty() || !seen.insert(upperCase(key)).second) {
            continue;
        }
        const std::string value = equals == std::string::npos ? "" : pair.substr(equals + 1);
        if (isText(value)) {
            dictionary[key] = value;
        }
    }
    return dictionary;
}

json ipv4(const json& addresses) {
    for (const json& hex : addresses.is_null() ? json::array() : addresses) {
        const std::string address = bytes(hex);
        if (address.size() >= 16 && address[1] == 2) {
            std::string text;
            for (std::size_t i = 4; i < 8; ++i) {
                text += std::to_string(static_cast<unsigned char>(address[i])) + ".";
            }
            text.pop_back();
            return text;
        }
    }
    return nullptr;
}

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
    void scan(std::size_t facade, bool automatic);
    template <class Change> void event(std::size_t facade, Change change);
    void startCollecting(std::size_t facade, bool automatic);
    void stopCollecting(std::size_t facade);
    void deliver(std::size_t facade, const json& data);
    void finish(std::size_t facade, const json& data);
    void enable(std::size_t facade, bool automatic);
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

template <class Change> void Model::event(std::size_t index, Change change) {
    Facade& facade = facades_[index];
    facade.finished.reset();
    if (Record* record = currentRecord(facade)) {
        change(*record);
    } else if (!facade.records.empty() && facade.records.back().finite) {
        finish(index, facade.records.back().dictionary());
    }
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
              R"(,"name":")" + taskName + "\"");
    }
}

void Model::tick(std::size_t facade) {
    static const std::set<std::string> counted{"en0",     "en1",     "en2",     "en3",    "en4",
                                               "pdp_ip0", "pdp_ip1", "pdp_ip2", "pdp_ip3"};
    const auto entry = std::find_if(interfaces_.begin(), interfaces_.end(), [](const json& e) {
        return counted.contains(e["name"]) && e["address"].is_string() &&
               e["address"].get<std::string>().find_first_not_of("0123456789.") ==
                   std::string::npos;
    });
    const json address = entry == interfaces_.end() ? json() : (*entry)["address"];
    json hosts = json::array();
    const json supported = captive_.value("supported", json());
    if (supported.is_array() && std::all_of(supported.begin(), supported.end(),
                                            [](const json& name) { return name.is_string(); })) {
        for (const json& name : supported) {
            const json info = captive_.value("info", json::object()).value(name, json());
            if (info.is_object()) {
                const bool named = info.contains("SSID") && info["SSID"].is_string();
                hosts.push_back(named ? json{{"name", info["SSID"]}} : json::object());
            }
        }
    }
    event(facade, [&](Record& record) {
        record.form.erase("ip");
        if (!address.is_null()) {
            record.form["ip"] = address;
        }
        analytics();
        record.form["wifiNetwork"]["connectedDevices"] = hosts;
        record.form["ambrel_analytics"] = analytics();
    });
}

void Model::bluetooth(const json& report) {
    for (std::size_t facade = 0; facade < facades_.size(); ++facade) {
        if (!facades_[facade].alive() || facades_[facade].radio != radios_ ||
            !facades_[facade].hearsRadio) {
            continue;
        }
        if (report.contains("state")) {
            if (report["state"] == 5) {
                write("bluetooth", "scanForPeripheralsWithServices");
            }
            return;
        }
        const json& seen = report["discover"];
        const std::string identifier = upperCase(seen["identifier"]);
        json peripheral{{"address", identifier}, {"timestamp", timestamp()}};
        if (seen.contains("name") && !seen["name"].is_null()) {
            peripheral["name"] = seen["name"];
        }
        return onStack(facade, [&] {
            event(facade, [&](Record& record) {
                record.peripherals[identifier] = peripheral;
                record.form["ambrel_analytics"] = analytics();
            });
        });
    }
}

void Model::bonjour(const json& report) {
    const bool isFound = report.contains("found");
    const json& told = isFound ? report["found"] : report["resolved"];
    const std::pair<std::string, std::string> key(told["type"], told["name"]);
    if (!isFound && !found_.contains(key)) {
        return;
    }
    if (!isFound) {
        found_[key] = told;
    }
    for (std::size_t facade = 0; facade < facades_.size(); ++facade) {
        auto& browsed = facades_[facade].browsed;
        if (!facades_[facade].alive()) {
            continue;
        }
        if (isFound && std::find(browsed.begin(), browsed.end(), key.first) != browsed.end()) {
            found_.try_emplace(key);
            facades_[facade].heard.insert(key);
            return write(R"("bonjour":"resolveWithTimeout","type":)" + json(key.first).dump() +
                         R"(,"name":)" + json(key.second).dump() + R"(,"timeout":0.0)");
        }
        if (!isFound && facades_[facade].heard.contains(key)) {
            return onStack(facade, [&] { resolved(told, facade); });
        }
    }
}

void Model::resolved(const json& report, std::size_t facade) {
    const std::string type = canonicalForm(report["type"]);
    const std::string name = canonicalForm(report["name"]);
    json service{
        {"name", report["name"]}, {"protocolType", report["type"]}, {"timestamp", timestamp()}};
    if (const json address = ipv4(report.value("addresses", json())); !address.is_null()) {
        service["address"] = address;
    }
    if (const json txt = report.value("txt", json()); !txt.is_null()) {
        service["txtRecord"] = txtDictionary(bytes(txt));
    }
    event(facade, [&](Record& record) {
        record.services[type + name] = {{type, name}, service};
        record.form["ambrel_analytics"] = analytics();
    });
}

void Model::location(const json& report) {
    for (std::size_t facade = 0; facade < facades_.size(); ++facade) {
        if (!facades_[facade].alive() || facades_[facade].locator != locators_ ||
            !facades_[facade].hearsLocator) {
            continue;
        }
        if (const json status = report.value("authorization", json()); status == 0) {
            write("location", "requestWhenInUseAuthorization");
        } else if (status == 3 || status == 4) {
            write("location", "startUpdatingLocation");
        }
        if (!report.contains("update") || report["update"].empty()) {
            return;
        }
        const json& fix = report["update"].back();
        return onStack(facade, [&] {
            event(facade, [&](Record& record) {
                record.finite = fix["latitude"].is_number() && fix["longitude"].is_number();
                if (record.finite) {
                    record.form["locationCollection"] = {
                        {"lat", fix["latitude"].get<double>()},
                        {"lon", fix["longitude"].get<double>()},
                        {"timestamp", nanoseconds(fix["timestamp"]) / second}};
                }
                record.form["ambrel_analytics"] = analytics();
            });
        });
    }
}

void Model::application(const json& action) {
    if (action.is_object()) {
        const auto task = tasks_.find(action["expire"]);
        if (task != tasks_.end() && facades_[task->second].alive()) {
            endTask(facades_[task->second]);
        }
        return;
    }
    for (std::size_t facade = 0; facade < facades_.size(); ++facade) {
        if (facades_[facade].observes) {
            return onStack(facade, [&] { scan(facade, true); });
        }
    }
}

/// False when the run ends here.
bool Model::step(const json& step, std::size_t line) {
    const std::int64_t at = nanoseconds(step["at"]);
    for (;;) {
        const auto due = std::find_if(facades_.begin(), facades_.end(), [&](const Facade& facade) {
            return facade.timerRuns && facade.nextFire <= at;
        });
        if (due == facades_.end()) {
            break;
        }
        now_ = due->nextFire;
        due->nextFire += second;
        const auto facade = static_cast<std::size_t>(due - facades_.begin());
        onStack(facade, [&] { tick(facade); });
    }
    now_ = at;
    if (step.contains("host")) {
        hostCall(step["host"], line);
    } else if (step.contains("onDelivery")) {
        onDelivery_.emplace(step["onDelivery"], line);
    } else if (step.contains("statuses")) {
        for (const auto& [query, status] : step["statuses"].items()) {
            statuses_[query] = status;
        }
    } else if (step.contains("clock")) {
        offset_ = nanoseconds(step["clock"]["offset"]);
    } else if (step.contains("bluetooth")) {
        bluetooth(step["bluetooth"]);
    } else if (step.contains("bonjour")) {
        bonjour(step["bonjour"]);
    } else if (step.contains("location")) {
        location(step["location"]);
    } else if (step.contains("application")) {
        application(step["application"]);
    } else if (step.contains("network")) {
        const json& network = step["network"];
        network.contains("captive") ? captive_ = network["captive"]
                                    : interfaces_ = network["interfaces"];
    }
    return !step.contains("end");
}

} // namespace

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

std::string canonicalForm(const std::string& text) {
    static const std::map<std::string, std::string> composed{
        {"Cafe\u0301", "Caf\u00E9"}, {"\u212B", "\u00C5"}, {"A\u030A", "\u00C5"}};
    const auto form = composed.find(text);
    return form == composed.end() ? text : form->second;
}

} // namespace ReplayModel
