#include "AmbrelKit/Simulated/Replay/ScriptWriter.hpp"

#include "AmbrelKit/Platform/Hexadecimal.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptNames.hpp"
#include "AmbrelKit/Simulated/Replay/Seconds.hpp"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace AmbrelKit::Simulated {

using std::chrono::nanoseconds;

namespace {

/// A key, and its value as JSON text; left out where that is empty. The JSON library writes neither
/// an order of keys nor a number of nanoseconds.
using Member = std::pair<std::string_view, std::string>;

std::string jsonText(const JSONValue& value) {
    return value.dump(-1, ' ', false, JSONValue::error_handler_t::replace);
}

std::string object(const std::vector<Member>& members) {
    std::string text = "{";
    for (const auto& [key, value] : members) {
        if (!value.empty()) {
            text.append(text.size() > 1 ? "," : "").append(jsonText(key)).append(":").append(value);
        }
    }
    return text + "}";
}

template <class Elements, class Write> std::string list(const Elements& elements, Write write) {
    std::string text = "[";
    for (const auto& element : elements) {
        text.append(text.size() > 1 ? "," : "").append(write(element));
    }
    return text + "]";
}

std::string seconds(nanoseconds time) {
    std::string text;
    appendSeconds(text, time);
    return text;
}

std::string bytesText(std::string_view bytes) { return '"' + hexadecimal(bytes) + '"'; }

std::string coordinate(double degrees) {
    if (std::isfinite(degrees)) {
        return jsonText(degrees);
    }
    return std::isnan(degrees) ? "\"nan\"" : degrees > 0 ? "\"inf\"" : "\"-inf\"";
}

/// The name of the value among `names`; nothing when it has none.
template <class Value, std::size_t count>
std::string nameOf(Value value, const std::array<Named<Value>, count>& names) {
    const auto named = std::ranges::find(names, value, &Named<Value>::value);
    return named == names.end() ? "" : jsonText(named->name);
}

std::string valueOf(const HostCall& call) {
    if (call.operation == HostCall::Operation::setThreshold) {
        return object({{"setAmbrelTimeThreshold", jsonText(call.threshold)}});
    }
    const std::string name = nameOf(call.operation, operationNames);
    return !name.empty() ? name : object({{"delegate", nameOf(call.operation, delegateNames)}});
}

std::string valueOf(const LocationFix& fix) {
    return object({{"latitude", coordinate(fix.coordinate.latitude)},
                   {"longitude", coordinate(fix.coordinate.longitude)},
                   {"timestamp", seconds(fix.timestamp.time_since_epoch())}});
}

std::string valueOf(const InterfaceAddress& interface) {
    return object({{"name", jsonText(interface.name)},
                   {"address", interface.address ? jsonText(*interface.address) : "null"}});
}

template <class Elements> std::string valuesOf(const Elements& elements) {
    return list(elements, [](const auto& element) { return valueOf(element); });
}

// The action of a step: its key and value.

Member action(const HostCall& call) { return {"host", valueOf(call)}; }

Member action(const ScriptActions::OnDelivery& delivery) {
    return {"onDelivery", valuesOf(delivery.calls)};
}

Member action(const ScriptActions::Statuses& statuses) {
    std::vector<Member> answers;
    for (const auto& [query, status] : statuses.answers) {
        const std::string name = nameOf(status, statusNames);
        answers.emplace_back(statusQueryNames.at(static_cast<std::size_t>(query)),
                             !name.empty() ? name : jsonText(static_cast<std::int64_t>(status)));
    }
    return {"statuses", object(answers)};
}

Member action(const ScriptActions::Clock& clock) {
    return {"clock", object({{"offset", seconds(clock.offset)}})};
}

Member action(const ScriptActions::BluetoothState& report) {
    return {"bluetooth", object({{"state", jsonText(static_cast<int>(report.state))}})};
}

Member action(const ScriptActions::BluetoothDiscover& report) {
    const auto& [identifier, name] = report.peripheral;
    return {"bluetooth", object({{"discover", object({{"identifier", jsonText(identifier.text())},
                                                      {"name", name ? jsonText(*name) : ""}})}})};
}

Member action(const ScriptActions::BonjourFound& report) {
    return {"bonjour", object({{"found", object({{"type", jsonText(report.type)},
                                                 {"name", jsonText(report.name)}})}})};
}

Member action(const ScriptActions::BonjourResolved& report) {
    const auto& addresses = report.records.addresses;
    const auto& txt = report.records.txt;
    return {"bonjour", object({{"resolved",
                                object({{"type", jsonText(report.type)},
                                        {"name", jsonText(report.name)},
                                        {"addresses", addresses ? list(*addresses, bytesText) : ""},
                                        {"txt", txt ? bytesText(*txt) : ""}})}})};
}

Member action(const ScriptActions::LocationAuthorization& report) {
    return {"location", object({{"authorization", jsonText(static_cast<int>(report.status))}})};
}

Member action(const ScriptActions::LocationUpdate& report) {
    return {"location", object({{"update", valuesOf(report.fixes)}})};
}

Member action(const ScriptActions::LocationFail& report) {
    return {"location", object({{"fail", jsonText(report.error)}})};
}

Member action(const ScriptActions::NetworkInterfaces& network) {
    return {"network", object({{"interfaces", valuesOf(network.interfaces)}})};
}

Member action(const ScriptActions::NetworkCaptive& network) {
    return {"network", object({{"captive", object({{"supported", jsonText(network.supported)},
                                                   {"info", jsonText(network.info)}})}})};
}

Member action(ScriptActions::DidBecomeActive /*event*/) {
    return {"application", "\"didBecomeActive\""};
}

Member action(const ScriptActions::Expire& event) {
    return {"application", object({{"expire", jsonText(event.task)}})};
}

Member action(ScriptActions::End /*event*/) { return {"end", "true"}; }

} // namespace

std::string scriptLine(const ScriptHeader& header) {
    const auto& [platform, types] = header;
    const auto write = [](const auto& element) { return jsonText(element); };
    return object({{"ambrelReplay", jsonText(scriptVersion)},
                   {"start", seconds(platform.start)},
                   {"bonjourServices", types ? list(*types, write) : ""},
                   {"identifiers",
                    list(platform.identifiers, [](UUID one) { return jsonText(one.text()); })}});
}

std::string scriptLine(const ScriptStep& step) {
    return object({{"at", seconds(step.at)},
                   std::visit([](const auto& one) { return action(one); }, step.action)});
}

} // namespace AmbrelKit::Simulated
