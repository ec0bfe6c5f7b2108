#include "AmbrelKit/Simulated/Replay/ActionGrammar.hpp"

#include "AmbrelKit/Simulated/Replay/Fields.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptNames.hpp"

#include <algorithm>
#include <limits>

namespace AmbrelKit::Simulated {

using Kind = ScriptValue::Kind;
using Operation = HostCall::Operation;

namespace {

/// The value that goes by the text `value`, which must be one of `choices`.
template <class Value, std::size_t count>
Value chosen(const ScriptValue& value, std::string_view name,
             const std::array<Named<Value>, count>& choices) {
    const auto choice = std::find_if(choices.begin(), choices.end(), [&](const auto& candidate) {
        return value.is(Kind::text) && candidate.name == value.text;
    });
    if (choice == choices.end()) {
        throw LineError(value.is(Kind::text)
                            ? quoted(value.text) + " is unknown to " + quoted(name)
                            : quoted(name) + " must be a text that is known to it");
    }
    return choice->value;
}

/// A whole number for an enumeration of the platform. What is beyond it means as little as the
/// number nearest to it.
template <class Enumeration> Enumeration enumerationOf(std::int64_t number) {
    using Limits = std::numeric_limits<std::underlying_type_t<Enumeration>>;
    return static_cast<Enumeration>(std::clamp<std::int64_t>(number, Limits::min(), Limits::max()));
}

HostCall hostCallOf(const ScriptValue& value) {
    if (value.is(Kind::text)) {
        return {.operation = chosen(value, "host", operationNames)};
    }
    const ScriptValue& member = onlyMember(value, "host");
    if (member.key == "setAmbrelTimeThreshold") {
        return {.operation = Operation::setThreshold,
                .threshold = integerOf(member, "setAmbrelTimeThreshold")};
    }
    if (member.key == "delegate") {
        return {.operation = chosen(member, "delegate", delegateNames)};
    }
    rejectMember(member, "host");
}

ScriptAction hostOf(const ScriptValue& value) { return hostCallOf(value); }

ScriptAction onDeliveryOf(const ScriptValue& value) {
    ScriptActions::OnDelivery action;
    for (const ScriptValue& call : listOf(value, "onDelivery")) {
        action.calls.push_back(hostCallOf(call));
    }
    return action;
}

ScriptAction statusesOf(const ScriptValue& value) {
    ScriptActions::Statuses action;
    const auto fields = fieldsOf(value, "statuses", statusQueryNames);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (fields[i] != nullptr) {
            const auto status = fields[i]->is(Kind::integer)
                                    ? static_cast<AmbrelPermissionStatus>(fields[i]->integer)
                                    : chosen(*fields[i], statusQueryNames[i], statusNames);
            action.answers.emplace_back(static_cast<StatusQuery>(i), status);
        }
    }
    return action;
}

ScriptAction clockOf(const ScriptValue& value) {
    const auto [offset] = fieldsOf<1>(value, "clock", {"offset"});
    return ScriptActions::Clock{timeOf(required(offset, "offset"), "offset")};
}

ScriptAction bluetoothOf(const ScriptValue& value) {
    const ScriptValue& report = onlyMember(value, "bluetooth");
    if (report.key == "state") {
        return ScriptActions::BluetoothState{
            enumerationOf<BluetoothManagerState>(integerOf(report, "state"))};
    }
    if (report.key != "discover") {
        rejectMember(report, "bluetooth");
    }
    const auto [identifier, name] = fieldsOf<2>(report, "discover", {"identifier", "name"});
    ScriptActions::BluetoothDiscover action;
    action.peripheral.identifier = uuidOf(required(identifier, "identifier"), "identifier");
    if (!isAbsent(name)) {
        action.peripheral.name = textOf(*name, "name");
    }
    return action;
}

ScriptAction bonjourOf(const ScriptValue& value) {
    const ScriptValue& report = onlyMember(value, "bonjour");
    if (report.key == "found") {
        const auto [type, name] = fieldsOf<2>(report, "found", {"type", "name"});
        return ScriptActions::BonjourFound{textOf(required(type, "type"), "type"),
                                           textOf(required(name, "name"), "name")};
    }
    if (report.key != "resolved") {
        rejectMember(report, "bonjour");
    }
    const auto [type, name, addresses, txt] =
        fieldsOf<4>(report, "resolved", {"type", "name", "addresses", "txt"});
    ScriptActions::BonjourResolved action{
        textOf(required(type, "type"), "type"), textOf(required(name, "name"), "name"), {}};
    if (!isAbsent(addresses)) {
        auto& bytes = action.records.addresses.emplace();
        for (const ScriptValue& address : listOf(*addresses, "addresses")) {
            bytes.push_back(bytesOf(address, "addresses"));
        }
    }
    if (!isAbsent(txt)) {
        action.records.txt = bytesOf(*txt, "txt");
    }
    return action;
}

LocationFix fixOf(const ScriptValue& value) {
    using TimePoint = decltype(LocationFix::timestamp);
    const auto [latitude, longitude, timestamp] =
        fieldsOf<3>(value, "update", {"latitude", "longitude", "timestamp"});
    LocationFix fix;
    fix.coordinate.latitude = coordinateOf(required(latitude, "latitude"), "latitude");
    fix.coordinate.longitude = coordinateOf(required(longitude, "longitude"), "longitude");
    fix.timestamp = TimePoint(std::chrono::duration_cast<TimePoint::duration>(
        timeOf(required(timestamp, "timestamp"), "timestamp")));
    return fix;
}

ScriptAction locationOf(const ScriptValue& value) {
    const ScriptValue& report = onlyMember(value, "location");
    if (report.key == "authorization") {
        return ScriptActions::LocationAuthorization{
            enumerationOf<LocationAuthorizationStatus>(integerOf(report, "authorization"))};
    }
    if (report.key == "update") {
        ScriptActions::LocationUpdate action;
        for (const ScriptValue& fix : listOf(report, "update")) {
            action.fixes.push_back(fixOf(fix));
        }
        return action;
    }
    if (report.key == "fail") {
        return ScriptActions::LocationFail{textOf(report, "fail")};
    }
    rejectMember(report, "location");
}

ScriptAction captiveOf(const ScriptValue& value) {
    const auto [supported, info] = fieldsOf<2>(value, "captive", {"supported", "info"});
    ScriptActions::NetworkCaptive action;
    if (supported != nullptr) {
        action.supported = jsonValue(*supported);
    }
    if (!isAbsent(info)) {
        if (!info->is(Kind::object)) {
            throw LineError("\"info\" must be an object");
        }
        action.info = jsonValue(*info).get<JSONDictionary>();
    }
    return action;
}

ScriptAction networkOf(const ScriptValue& value) {
    const ScriptValue& state = onlyMember(value, "network");
    if (state.key == "captive") {
        return captiveOf(state);
    }
    if (state.key != "interfaces") {
        rejectMember(state, "network");
    }
    ScriptActions::NetworkInterfaces action;
    for (const ScriptValue& entry : listOf(state, "interfaces")) {
        const auto [name, address] = fieldsOf<2>(entry, "interfaces", {"name", "address"});
        InterfaceAddress interface { textOf(required(name, "name"), "name"), std::nullopt };
        if (!required(address, "address").is(Kind::null)) {
            interface.address = textOf(*address, "address");
        }
        action.interfaces.push_back(std::move(interface));
    }
    return action;
}

ScriptAction applicationOf(const ScriptValue& value) {
    static constexpr std::array events{
        Named<ScriptActions::DidBecomeActive>{"didBecomeActive", {}}};
    if (value.is(Kind::text)) {
        return chosen(value, "application", events);
    }
    const auto [task] = fieldsOf<1>(value, "application", {"expire"});
    return ScriptActions::Expire{integerOf(required(task, "expire"), "expire")};
}

ScriptAction endOf(const ScriptValue& value) {
    if (!value.is(Kind::boolean) || !value.boolean) {
        throw LineError("\"end\" must be true");
    }
    return ScriptActions::End{};
}

constexpr std::array actionReaders{Named<ActionReader>{"bluetooth", bluetoothOf},
                                   Named<ActionReader>{"bonjour", bonjourOf},
                                   Named<ActionReader>{"location", locationOf},
                                   Named<ActionReader>{"network", networkOf},
                                   Named<ActionReader>{"host", hostOf},
                                   Named<ActionReader>{"onDelivery", onDeliveryOf},
                                   Named<ActionReader>{"statuses", statusesOf},
                                   Named<ActionReader>{"clock", clockOf},
                                   Named<ActionReader>{"application", applicationOf},
                                   Named<ActionReader>{"end", endOf}};

} // namespace

ActionReader actionReader(std::string_view key) {
    const auto* const known =
        std::find_if(actionReaders.begin(), actionReaders.end(),
                     [&](const auto& candidate) { return candidate.name == key; });
    return known != actionReaders.end() ? known->value : nullptr;
}

} // namespace AmbrelKit::Simulated
