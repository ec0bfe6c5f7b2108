#include "tools/ambrel/Report/Things.hpp"

#include <algorithm>
#include <tuple>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

constexpr std::size_t mostThings = 100'000; ///< that stay when some are forgotten
constexpr std::size_t mostListed = 2'000;
constexpr std::size_t mostLabels = 4;

/// Fewer runs for each until there are not too many in all.
void coarsen(const std::vector<Thing*>& things) {
    constexpr std::size_t mostRuns = 100'000;
    constexpr std::size_t mostRunsOfOne = 1'000;
    for (std::size_t most = mostRunsOfOne; most > 0; most /= 2) {
        std::size_t runs = 0;
        for (Thing* thing : things) {
            thing->presence.coarsen(most);
            runs += thing->presence.runCount();
        }
        if (runs <= mostRuns) {
            return;
        }
    }
}

} // namespace

void Thing::label(const std::string& text) {
    const auto place = std::find(labels.begin(), labels.end(), text);
    if (place != labels.end()) {
        std::rotate(labels.begin(), place, place + 1);
        return;
    }
    labels.insert(labels.begin(), text);
    labels.resize(std::min(labels.size(), mostLabels));
}

bool Thing::precedes(const Thing& other) const {
    return std::tuple(other.presence.count(), other.presence.last()) <
           std::tuple(presence.count(), presence.last());
}

JSONValue describe(const std::vector<Thing*>& things, const std::string& labelsName,
                   std::int64_t origin) {
    constexpr std::size_t mostWeeks = 300;
    constexpr std::size_t leastForWeek = 10; // fewer say nothing of what is regular
    coarsen(things);
    JSONValue list = JSONValue::array();
    for (Thing* thing : things) {
        const bool withWeek = list.size() < mostWeeks && thing->presence.count() >= leastForWeek;
        JSONDictionary model = thing->details;
        model[labelsName] = thing->labels;
        thing->presence.describe(model, origin, withWeek);
        list.push_back(std::move(model));
    }
    return list;
}

Thing* Things::see(const std::string& key, const CollectionMoment& moment) {
    if (things_.size() >= 2 * mostThings) {
        forget();
    }
    const auto [place, isNew] = things_.try_emplace(key);
    Thing& thing = place->second;
    if (thing.presence.wasSeenIn(moment)) {
        return nullptr;
    }
    thing.presence.see(moment);
    if (isNew) {
        firsts_.push_back(moment.time);
        while (firsts_.front() < moment.time - week) {
            firsts_.pop_front();
        }
    }
    return &thing;
}

std::vector<Things::Entry*> Things::inOrder(std::size_t firstOnes) {
    std::vector<Entry*> entries;
    entries.reserve(things_.size());
    for (Entry& entry : things_) {
        entries.push_back(&entry);
    }
    const auto middle =
        entries.begin() + static_cast<std::ptrdiff_t>(std::min(firstOnes, entries.size()));
    std::partial_sort(entries.begin(), middle, entries.end(), [](Entry* one, Entry* other) {
        return one->second.precedes(other->second) ||
               (!other->second.precedes(one->second) && one->first < other->first);
    });
    return entries;
}

void Things::forget() {
    const auto entries = inOrder(mostThings);
    for (std::size_t i = mostThings; i < entries.size(); ++i) {
        forgottenOnce_ += entries[i]->second.presence.count() == 1 ? 1 : 0;
        things_.erase(things_.find(entries[i]->first));
    }
    forgotten_ += entries.size() - mostThings;
}

JSONDictionary Things::model(std::int64_t origin, std::int64_t newSince) {
    const auto entries = inOrder(mostListed);
    std::vector<Thing*> listed;
    std::size_t once = forgottenOnce_;
    for (Entry* entry : entries) {
        auto& [key, thing] = *entry;
        once += thing.presence.count() == 1 ? 1 : 0;
        if (listed.size() < mostListed) {
            listed.push_back(&thing);
            if (!keyName_.empty()) {
                thing.details[keyName_] = key;
            }
        }
    }
    const auto isNew = [newSince](std::int64_t first) { return first >= newSince; };
    return {{"distinct", forgotten_ + things_.size()},
            {"atMost", forgotten_ > 0},
            {"new", std::count_if(firsts_.begin(), firsts_.end(), isNew)},
            {"once", once},
            {"things", describe(listed, labelsName_, origin)}};
}

} // namespace Ambrel
