// The platform, and how a script drives it.

#include "tests/replay/ModelState.hpp"

namespace ReplayModel {

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

} // namespace ReplayModel
