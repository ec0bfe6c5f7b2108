#include "tools/ambrel/Live/Sightings.hpp"

#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/Filter.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <tuple>

namespace Ambrel {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

// A collection takes ten seconds, and what is there is reported once in each at least.
constexpr auto newFor = 10s;
constexpr auto fadesAfter = 22s;
constexpr auto goneAfter = 60s;

/// Where each stands, with a space between them.
std::string joined(const std::string& a, const std::string& b) {
    return a + (a.empty() || b.empty() ? "" : " ") + b;
}

Sighting peripheral(const JSONDictionary& details) {
    const JSONValue& strength = member(details, "rssi");
    return {.kind = SightingKind::peripheral,
            .identity = textOf(member(details, "address")),
            .name = textOf(member(details, "name")),
            .note = textOf(member(details, "address")),
            .strength = strength.is_number() ? std::optional(strength.get<int>()) : std::nullopt};
}

Sighting service(const JSONDictionary& details) {
    const std::string type = textOf(member(details, "protocolType"));
    const std::string name = textOf(member(details, "name"));
    return {.kind = SightingKind::service,
            .identity = type + '\0' + name,
            .name = name,
            .note = joined(type.substr(0, type.find_last_not_of('.') + 1),
                           textOf(member(details, "hostName")))};
}

Sighting position(const JSONDictionary& details) {
    const auto number = [&](const char* key, int digits) {
        const JSONValue& value = member(details, key);
        std::ostringstream text;
        text << std::fixed << std::setprecision(digits)
             << (value.is_number() ? value.get<double>() : std::nan(""));
        return text.str();
    };
    constexpr int metres = 5; // digits of a degree for about one
    const bool accurate = details.contains("horizontalAccuracy");
    return {.kind = SightingKind::position,
            .identity = "",
            .name = number("lat", metres) + ", " + number("lon", metres),
            .note = joined(accurate ? "±" + number("horizontalAccuracy", 0) + " m" : "",
                           textOf(member(details, "determinedBy")))};
}

Sighting address(const JSONDictionary& details) {
    const std::string address = textOf(member(details, "ip"));
    return {.kind = SightingKind::address,
            .identity = address,
            .name = address,
            .note = textOf(member(details, "interface"))};
}

Sighting network(const JSONDictionary& details) {
    const std::string name = textOf(member(details, "name"));
    const std::string interface = textOf(member(details, "interface"));
    return {.kind = SightingKind::network,
            .identity = interface + '\0' + name,
            .name = name,
            .note = joined(interface, textOf(member(details, "bssid")))};
}

constexpr std::array<std::string_view, 5> kindNames{"peripheral", "service", "position", "address",
                                                    "network"};
constexpr std::array<std::string_view, 5> orderNames{"kind", "name", "last seen", "first seen",
                                                     "signal"};

} // namespace

std::string_view name(SightingKind kind) { return kindNames.at(static_cast<std::size_t>(kind)); }

std::string_view name(SightingOrder order) {
    return orderNames.at(static_cast<std::size_t>(order));
}

SightingOrder next(SightingOrder order) {
    return static_cast<SightingOrder>((static_cast<std::size_t>(order) + 1) % orderNames.size());
}

bool Sighting::isNew(nanoseconds now) const { return now - first.time < newFor; }

bool Sighting::fades(nanoseconds now) const { return now - last.time > fadesAfter; }

void Sightings::update(Source source, std::string_view report, const JSONDictionary& details,
                       const Moment& now) {
    if (report == "peripheral") {
        saw(peripheral(details), details, now);
    } else if (source == Source::services) {
        saw(service(details), details, now);
    } else if (report == "fix") {
        saw(position(details), details, now);
    } else if (report == "address" && details.contains("ip")) {
        saw(address(details), details, now);
    } else if (report == "networks") {
        for (const JSONValue& each : details.at("connectedDevices")) {
            const auto& joined = each.get_ref<const JSONDictionary&>();
            saw(network(joined), joined, now);
        }
    }
}

/// A report that says less than one before it takes nothing back.
void Sightings::saw(Sighting seen, const JSONDictionary& details, const Moment& now) {
    const auto [place, isFirst] = all_.try_emplace({seen.kind, seen.identity});
    Sighting& known = place->second;
    const bool renamed = isFirst || (!seen.name.empty() && seen.name != known.name) ||
                         (!seen.note.empty() && seen.note != known.note);
    known.kind = seen.kind;
    known.identity = std::move(seen.identity);
    if (!seen.name.empty()) {
        known.name = std::move(seen.name);
    }
    if (!seen.note.empty()) {
        known.note = std::move(seen.note);
    }
    if (renamed) {
        known.key = folded(joined(joined(known.name, known.note), std::string(name(known.kind))));
    }
    known.strength = seen.strength ? seen.strength : known.strength;
    for (const auto& [key, value] : details) {
        if (!value.empty() || !known.details.contains(key)) {
            known.details[key] = value;
        }
    }
    known.first = isFirst ? now : known.first;
    known.last = now;
}

void Sightings::drop(nanoseconds now) {
    std::erase_if(all_, [&](const auto& each) { return now - each.second.last.time > goneAfter; });
}

std::vector<const Sighting*> Sightings::rows(SightingOrder order, const std::string& filter) const {
    std::vector<const Sighting*> rows;
    const std::string wanted = folded(filter);
    for (const auto& [key, sighting] : all_) {
        if (sighting.key.find(wanted) != std::string::npos) {
            rows.push_back(&sighting);
        }
    }
    const auto isBefore = [order](const Sighting* a, const Sighting* b) {
        const auto rank = [order](const Sighting& row) -> std::int64_t {
            constexpr int none = -1000; // dBm
            switch (order) {
            case SightingOrder::kind:
                return static_cast<std::int64_t>(row.kind);
            case SightingOrder::lastSeen:
                return -(row.last.time / 1s); // those of one second keep their places
            case SightingOrder::firstSeen:
                return -row.first.time.count();
            case SightingOrder::strength:
                return -row.strength.value_or(none);
            case SightingOrder::name:
                break;
            }
            return 0;
        };
        const auto key = [&](const Sighting& row) {
            return std::tuple(rank(row), row.name.empty(), std::string_view(row.key), row.kind,
                              std::string_view(row.identity));
        };
        return key(*a) < key(*b);
    };
    std::sort(rows.begin(), rows.end(), isBefore);
    return rows;
}

const Sighting* Sightings::find(SightingKind kind, const std::string& identity) const {
    const auto found = all_.find({kind, identity});
    return found == all_.end() ? nullptr : &found->second;
}

std::size_t Sightings::count(SightingKind kind) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(all_, [kind](const auto& each) { return each.second.kind == kind; }));
}

} // namespace Ambrel
