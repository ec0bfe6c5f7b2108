#include "AmbrelKit/Simulated/Replay/LineGrammar.hpp"

#include "AmbrelKit/Simulated/Replay/ActionGrammar.hpp"
#include "AmbrelKit/Simulated/Replay/Fields.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptNames.hpp"

#include <utility>

namespace AmbrelKit::Simulated {

namespace {

/// What a step consists of.
struct Members {
    const ScriptValue* at = nullptr;
    const ScriptValue* action = nullptr;
    ActionReader reader = nullptr;
};

Members membersOf(const ScriptValue& line) {
    Members members;
    for (const ScriptValue& member : line) {
        if (member.key == "at") {
            if (std::exchange(members.at, &member) != nullptr) {
                throw LineError("key \"at\" twice");
            }
            continue;
        }
        const ActionReader reader = actionReader(member.key);
        if (reader == nullptr) {
            throw LineError("unknown key " + quoted(member.key));
        }
        if (members.action != nullptr) {
            throw LineError("more than one action: " + quoted(members.action->key) + " and " +
                            quoted(member.key));
        }
        members.action = &member;
        members.reader = reader;
    }
    return members;
}

ScriptAction actionOf(const Members& members) {
    if (members.action == nullptr) {
        throw LineError("no action");
    }
    return members.reader(*members.action);
}

/// Before anything else of a header: another version may have other keys.
void requireVersion(const ScriptValue& line) {
    for (const ScriptValue& member : line) {
        if (member.key != "ambrelReplay") {
            continue;
        }
        if (const auto found = integerOf(member, "ambrelReplay"); found != scriptVersion) {
            throw LineError("version " + std::to_string(found) + " is unknown, " +
                            std::to_string(scriptVersion) + " is known");
        }
        return;
    }
    throw LineError("the header is missing: no \"ambrelReplay\"");
}

} // namespace

ScriptHeader headerOf(const ScriptValue& line) {
    requireVersion(line);
    const auto [mark, start, types, identifiers] = fieldsOf<4>(
        line, "the header", {"ambrelReplay", "start", "bonjourServices", "identifiers"});
    ScriptHeader header;
    if (start != nullptr) {
        header.platform.start = timeOf(*start, "start");
    }
    if (!isAbsent(types)) {
        auto& services = header.bonjourServices.emplace();
        for (const ScriptValue& type : listOf(*types, "bonjourServices")) {
            services.push_back(textOf(type, "bonjourServices"));
        }
    }
    if (identifiers != nullptr) {
        for (const ScriptValue& identifier : listOf(*identifiers, "identifiers")) {
            header.platform.identifiers.push_back(uuidOf(identifier, "identifiers"));
        }
    }
    return header;
}

ScriptStep stepOf(const ScriptValue& line) {
    const Members members = membersOf(line);
    ScriptStep step;
    const ScriptValue& at = required(members.at, "at");
    step.at = timeOf(at, "at");
    if (at.real < 0) { // -1e-12 rounds to 0
        throw LineError("\"at\" must not be less than 0");
    }
    step.action = actionOf(members);
    return step;
}

ScriptAction actionOf(const ScriptValue& line) {
    const Members members = membersOf(line);
    if (members.at != nullptr) {
        throw LineError("unknown key \"at\"");
    }
    return actionOf(members);
}

} // namespace AmbrelKit::Simulated
