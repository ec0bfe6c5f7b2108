#include "tools/ambrel/Report/Report.hpp"

#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

/// A text as the page shows it, if it is one: what is too long is cut.
std::optional<std::string> shownText(const JSONValue& value) {
    constexpr std::size_t mostCharacters = 256;
    if (!value.is_string()) {
        return std::nullopt;
    }
    const auto& whole = value.get_ref<const std::string&>();
    std::size_t characters = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        if (!continuesCharacter(whole[i]) && ++characters > mostCharacters) {
            return printable(whole.substr(0, i)) + "…";
        }
    }
    return printable(whole);
}

const JSONValue& listOf(const JSONValue& value) {
    static const JSONValue none = JSONValue::array();
    return value.is_array() ? value : none;
}

/// The pairs of a TXT record.
JSONValue pairsOf(const JSONValue& record) {
    constexpr std::size_t most = 32;
    JSONValue pairs = JSONValue::array();
    for (const auto& [key, value] : record.items()) {
        if (pairs.size() < most) {
            pairs.push_back({shownText(key).value(), shownText(value).value_or("")});
        }
    }
    return pairs;
}

std::vector<std::string> joinedNetworks(const JSONDictionary& collection) {
    std::vector<std::string> names;
    for (const auto& host : listOf(member(member(collection, "wifiNetwork"), "connectedDevices"))) {
        if (auto name = shownText(member(host, "name"))) {
            names.push_back(std::move(*name));
        }
    }
    return names;
}

} // namespace

void Report::add(JSONDictionary collection) {
    const JSONValue& timestamp = member(collection, "timestamp");
    const auto time = timestamp.is_number() ? calendarTime(timestamp.get<double>()) : std::nullopt;
    if (!time || (collections_ > 0 && *time < last_)) {
        ++untimed_;
        return;
    }
    if (newest_ && *time < newest_->time) {
        ++untimed_;
    } else if (newest_) {
        count(*newest_);
    }
    newest_ = {*time, std::move(collection)};
}

void Report::count(const Timed& timed) {
    const auto& [time, collection] = timed;
    const Here here{{time, collections_, hourOfWeek(time)},
                    collection,
                    shownText(member(collection, "ip")),
                    joinedNetworks(collection)};
    Counts counts;
    counts.peripherals = seePeripherals(here);
    counts.services = seeServices(here);
    seeNetworks(here);
    located_ += seePlace(here) ? 1 : 0;

    first_ = collections_ == 0 ? time : first_;
    last_ = time;
    ++collections_;
    joined_ += here.networks.empty() ? 0 : 1;
    ++collectionsInWeek_.at(here.moment.hourOfWeek);
    peripheralsInWeek_.at(here.moment.hourOfWeek) += counts.peripherals;
    bins_.add(time, counts);
}

std::size_t Report::seePeripherals(const Here& here) {
    std::size_t count = 0;
    for (const auto& peripheral : listOf(member(here.collection, "bleScan"))) {
        const auto identifier = shownText(member(peripheral, "address"));
        Thing* seen = identifier ? peripherals_.see(*identifier, here.moment) : nullptr;
        if (seen == nullptr) {
            continue;
        }
        ++count;
        if (const auto name = shownText(member(peripheral, "name"))) {
            seen->label(*name);
        }
    }
    return count;
}

std::size_t Report::seeServices(const Here& here) {
    std::size_t count = 0;
    for (const auto& service : listOf(member(here.collection, "nearbyDevices"))) {
        const auto type = shownText(member(service, "protocolType"));
        const auto name = shownText(member(service, "name"));
        const std::string key = type && name ? JSONValue{*type, *name}.dump() : "";
        Thing* seen = key.empty() ? nullptr : services_.see(key, here.moment);
        if (seen == nullptr) {
            continue;
        }
        ++count;
        seen->details["type"] = *type;
        seen->details["name"] = *name;
        if (const auto address = shownText(member(service, "address"))) {
            seen->label(*address);
        }
        JSONValue& pairs = seen->details.try_emplace("txt", JSONValue::array()).first->second;
        if (const auto& record = member(service, "txtRecord"); record.is_object()) {
            pairs = pairsOf(record);
        }
    }
    return count;
}

void Report::seeNetworks(const Here& here) {
    for (const auto& name : here.networks) {
        Thing* seen = networks_.see(name, here.moment);
        if (seen != nullptr && here.address) {
            seen->label(*here.address);
        }
    }
    if (here.address) {
        Thing* seen = addresses_.see(*here.address, here.moment);
        std::for_each(here.networks.begin(), here.networks.end(),
                      [seen](const std::string& name) { seen->label(name); });
    }
}

bool Report::seePlace(const Here& here) {
    const auto& fix = member(here.collection, "locationCollection");
    const auto& latitude = member(fix, "lat");
    const auto& longitude = member(fix, "lon");
    if (!latitude.is_number() || !longitude.is_number()) {
        return false;
    }
    Thing* seen = places_.see({latitude.get<double>(), longitude.get<double>()}, here.moment);
    if (seen == nullptr) {
        return false;
    }
    std::for_each(here.networks.begin(), here.networks.end(),
                  [seen](const std::string& name) { seen->label(name); });
    return true;
}

JSONDictionary Report::model() {
    if (newest_) {
        count(*newest_);
        newest_.reset();
    }
    constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();
    const bool isEmpty = collections_ == 0;
    const bool someIsNew = !isEmpty && last_ - first_ > week;
    const std::int64_t newSince = someIsNew ? last_ - week : never;
    return {{"first", isEmpty ? JSONValue() : JSONValue(first_)},
            {"last", isEmpty ? JSONValue() : JSONValue(last_)},
            {"collections", collections_},
            {"untimed", untimed_},
            {"zones", zoneOffsets(first_, last_)},
            {"newSince", someIsNew ? JSONValue(newSince) : JSONValue()},
            {"located", located_},
            {"joined", joined_},
            {"bins", bins_.model()},
            {"week", {{"collections", collectionsInWeek_}, {"peripherals", peripheralsInWeek_}}},
            {"peripherals", peripherals_.model(first_, newSince)},
            {"services", services_.model(first_, newSince)},
            {"networks", networks_.model(first_, newSince)},
            {"addresses", addresses_.model(first_, newSince)},
            {"places", places_.model(first_, newSince)}};
}

} // namespace Ambrel
