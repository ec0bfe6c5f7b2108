#include "tools/ambrel/Collecting/Changes.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

namespace {

struct Kind {
    const char* name;
    Source source;
    JSONValue (*things)(const JSONDictionary& collection);
    std::vector<const char*> identity;
    std::vector<const char*> rest; ///< what may change
};

const std::vector<Kind>& allKinds() {
    static const std::vector<Kind> kinds{
        {.name = "peripheral",
         .source = Source::bluetooth,
         .things = [](const JSONDictionary& data) { return member(data, "bleScan"); },
         .identity = {"address"},
         .rest = {"name"}},
        {.name = "service",
         .source = Source::services,
         .things = [](const JSONDictionary& data) { return member(data, "nearbyDevices"); },
         .identity = {"protocolType", "name"},
         .rest = {"address", "txtRecord"}},
        {.name = "network",
         .source = Source::wifi,
         .things =
             [](const JSONDictionary& data) {
                 return member(member(data, "wifiNetwork"), "connectedDevices");
             },
         .identity = {"name"},
         .rest = {}},
        {.name = "address",
         .source = Source::address,
         .things =
             [](const JSONDictionary& data) {
                 const auto address = data.find("ip");
                 return address == data.end() ? JSONValue::array()
                                              : JSONValue::array({{{"ip", address->second}}});
             },
         .identity = {},
         .rest = {"ip"}},
    };
    return kinds;
}

/// Whether what the collection lacks was not there.
bool isWhole(const SourceReport& report) {
    const SourceAccount& account = report.collection;
    if (account.outcome == SourceOutcome::notAsked || account.outcome == SourceOutcome::listened) {
        return true;
    }
    // A machine without an adapter or a link has joined nothing, and has no address.
    const bool isOwn = report.source == Source::wifi || report.source == Source::address;
    const SourceCondition& failure = account.failure;
    return isOwn &&
           (failure.state == SourceState::off ||
            (failure.state == SourceState::unavailable && failure.code != "no-descriptors"));
}

bool isWhole(const std::vector<SourceReport>& sources, Source source) {
    return std::ranges::any_of(sources, [source](const SourceReport& report) {
        return report.source == source && isWhole(report);
    });
}

JSONDictionary only(const JSONValue& thing, const std::vector<const char*>& keys) {
    JSONDictionary some;
    for (const char* key : keys) {
        if (const JSONValue& value = member(thing, key); !value.is_null()) {
            some.emplace(key, value);
        }
    }
    return some;
}

bool isEqual(const JSONValue& a, const JSONValue& b) {
    return a.is_string() && b.is_string()
               ? Text(a.get_ref<const std::string&>()) == Text(b.get_ref<const std::string&>())
               : a == b;
}

/// Takes from both what they have in common, and so from the dictionaries in them.
void keepDifferences(JSONDictionary& before, JSONDictionary& now) {
    for (auto entry = before.begin(); entry != before.end();) {
        const auto other = now.find(entry->first);
        if (other == now.end()) {
            ++entry;
            continue;
        }
        if (entry->second.is_object() && other->second.is_object()) {
            keepDifferences(entry->second.get_ref<JSONDictionary&>(),
                            other->second.get_ref<JSONDictionary&>());
        }
        if (isEqual(entry->second, other->second)) {
            now.erase(other);
            entry = before.erase(entry);
        } else {
            ++entry;
        }
    }
}

using ThingsByIdentity = std::map<std::vector<Text>, JSONDictionary>;

ThingsByIdentity thingsOf(const Kind& kind, const JSONDictionary& collection) {
    ThingsByIdentity things;
    for (const JSONValue& thing : kind.things(collection)) {
        std::vector<Text> identity;
        for (const char* key : kind.identity) {
            identity.emplace_back(textOf(member(thing, key)));
        }
        auto told = only(thing, kind.identity);
        told.merge(only(thing, kind.rest));
        things.insert_or_assign(std::move(identity), std::move(told));
    }
    return things;
}

/// What each line of a kind begins with.
struct Heading {
    const Kind& kind;
    const JSONValue& from;
    const JSONValue& to;
};

Change change(const Heading& heading, const char* what, const JSONDictionary& thing) {
    Change line{
        {"from", heading.from}, {"to", heading.to}, {"change", what}, {"kind", heading.kind.name}};
    for (const auto& [key, value] : only(thing, heading.kind.identity)) {
        line[key] = value;
    }
    return line;
}

void tell(const Heading& heading, const ThingsByIdentity& before, const ThingsByIdentity& now,
          std::vector<Change>& changes) {
    const auto& rest = heading.kind.rest;
    for (const auto& [identity, thing] : before) {
        if (!now.contains(identity)) {
            changes.push_back(change(heading, "gone", thing));
            changes.back()["before"] = only(thing, rest);
        }
    }
    for (const auto& [identity, thing] : now) {
        auto what = only(thing, rest);
        const auto earlier = before.find(identity);
        if (earlier == before.end()) {
            changes.push_back(change(heading, "appeared", thing));
            changes.back()["now"] = what;
            continue;
        }
        auto was = only(earlier->second, rest);
        keepDifferences(was, what);
        if (!was.empty() || !what.empty()) {
            changes.push_back(change(heading, "changed", thing));
            changes.back()["before"] = was;
            changes.back()["now"] = what;
        }
    }
}

/// "name Lamp -> Light": what differs, and what differs in a dictionary.
std::string differences(const JSONValue& before, const JSONValue& now) {
    auto both = before.is_object() ? before : JSONValue::object();
    both.update(now.is_object() ? now : JSONValue::object());
    std::string text;
    for (const auto& [key, value] : both.items()) {
        const JSONValue& was = member(before, key.c_str());
        const JSONValue& is = member(now, key.c_str());
        const std::string within = value.is_object() ? differences(was, is) : "";
        text += (text.empty() ? "" : ", ");
        text += within.empty() ? printable(key) + " " + shown(was) + " -> " + shown(is) : within;
    }
    return text;
}

} // namespace

std::vector<Change> Changes::next(const JSONDictionary& collection,
                                  const std::vector<SourceReport>& sources) {
    std::vector<Change> changes;
    const JSONValue& timestamp = member(collection, "timestamp");
    auto known = known_.begin();
    for (const Kind& kind : allKinds()) {
        Known& before = *known++;
        if (isWhole(sources, kind.source)) {
            Known now{timestamp, thingsOf(kind, collection)};
            tell({kind, before.timestamp, now.timestamp}, before.things, now.things, changes);
            before = std::move(now);
        }
    }
    return changes;
}

std::string line(const Change& change, const Style& style) {
    constexpr std::size_t longestKind = 10;
    const JSONValue value = change;
    const std::string kind = change.at("kind");
    const std::string what = change.at("change");
    const bool appeared = what == "appeared";
    const bool gone = what == "gone";
    std::string text = appeared ? "+ " : gone ? "- " : "~ ";
    text += localTime(change.at("to")).value_or("-") + "  " + kind + padding(kind, longestKind);
    const JSONValue& rest = member(value, gone ? "before" : "now");
    for (const char* key : {"name", "protocolType", "address", "ip"}) {
        const JSONValue& own = member(value, key);
        const JSONValue& told = own.is_null() && (appeared || gone) ? member(rest, key) : own;
        text += told.is_null() ? "" : "  " + shown(told);
    }
    if (!appeared && !gone) {
        text += "  " + differences(member(value, "before"), rest);
    }
    return style(appeared ? Meaning::fresh : gone ? Meaning::faint : Meaning::caution, text);
}

} // namespace Ambrel
