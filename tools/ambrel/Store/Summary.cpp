#include "tools/ambrel/Store/Summary.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <nlohmann/json.hpp>
#include <optional>

namespace Ambrel {

namespace {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

std::size_t count(const JSONValue& value) { return value.is_array() ? value.size() : 0; }

/// What the hosts of the joined networks name; those that name nothing are left out.
JSONValue networksOf(const JSONDictionary& collection) {
    JSONValue names = JSONValue::array();
    const auto& hosts = member(member(collection, "wifiNetwork"), "connectedDevices");
    if (hosts.is_array()) {
        for (const JSONValue& host : hosts) {
            if (const auto& name = member(host, "name"); !name.is_null()) {
                names.push_back(name);
            }
        }
    }
    return names;
}

} // namespace

Summary::Summary(const JSONDictionary& collection)
    : timestamp(member(collection, "timestamp")), peripherals(count(member(collection, "bleScan"))),
      services(count(member(collection, "nearbyDevices"))),
      hasLocation(member(collection, "locationCollection").is_object()),
      address(member(collection, "ip")), networks(networksOf(collection)) {}

std::vector<Column> Summary::columns() {
    constexpr auto right = Column::Alignment::right;
    constexpr std::size_t whole = 18; // as one has to be that is copied
    constexpr std::size_t minutes = 16;
    constexpr std::size_t offset = 6;
    constexpr std::size_t seconds = 3;
    return {
        {.heading = "TIMESTAMP", .usefulness = 2, .least = whole},
        {.heading = "LOCAL TIME", .usefulness = 7, .least = minutes, .tails = {offset, seconds}},
        {.heading = "AGE", .usefulness = 3, .alignment = right},
        {.heading = "PERIPHERALS", .usefulness = 6, .least = 11, .alignment = right},
        {.heading = "SERVICES", .usefulness = 5, .alignment = right},
        {.heading = "LOCATION", .usefulness = 1},
        {.heading = "ADDRESS", .usefulness = 0, .least = 15},
        {.heading = "WI-FI", .usefulness = 4}};
}

std::vector<Cell> Summary::row(double now) const {
    std::string names;
    for (const JSONValue& name : networks) {
        names += (names.empty() ? "" : ", ") + shown(name);
    }
    const auto text = [](const std::optional<std::string>& known) {
        return known ? Cell(*known) : Cell();
    };
    const bool timed = timestamp.is_number();
    const double seconds = timed ? timestamp.get<double>() : 0;
    return {cell(timestamp),
            text(timed ? localTime(seconds) : std::nullopt),
            text(timed ? std::optional(age(seconds, now)) : std::nullopt),
            Cell(std::to_string(peripherals)),
            Cell(std::to_string(services)),
            hasLocation ? Cell("yes") : Cell(),
            cell(address),
            names.empty() ? Cell() : Cell(names)};
}

JSONDictionary Summary::json() const {
    JSONDictionary summary{{"peripherals", peripherals},
                           {"services", services},
                           {"location", hasLocation},
                           {"wifi", networks}};
    if (!timestamp.is_null()) {
        summary.emplace("timestamp", timestamp);
    }
    if (!address.is_null()) {
        summary.emplace("address", address);
    }
    return summary;
}

} // namespace Ambrel
