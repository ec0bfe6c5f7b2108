#include "tools/ambrel/Store/Summary.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <array>
#include <cstdlib>
#include <nlohmann/json.hpp>

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

template <class... Columns> std::string line(const Columns&... columns) {
    constexpr std::array widths{-12, -25, 8, 11, 8, -8, -15, 0}; // negative: to the left
    static_assert(sizeof...(columns) == widths.size());
    std::string line;
    std::size_t column = 0;
    const auto put = [&](const std::string& text) {
        const int width = widths[column];
        const std::string space = padding(text, static_cast<std::size_t>(std::abs(width)));
        line += column++ > 0 ? "  " : "";
        line += width < 0 ? text + space : space + text;
    };
    (put(columns), ...);
    return line;
}

} // namespace

Summary::Summary(const JSONDictionary& collection)
    : timestamp(member(collection, "timestamp")), peripherals(count(member(collection, "bleScan"))),
      services(count(member(collection, "nearbyDevices"))),
      hasLocation(member(collection, "locationCollection").is_object()),
      address(member(collection, "ip")), networks(networksOf(collection)) {}

std::string Summary::heading() {
    return line("TIMESTAMP", "LOCAL TIME", "AGE", "PERIPHERALS", "SERVICES", "LOCATION", "ADDRESS",
                "WI-FI");
}

std::string Summary::row(double now) const {
    std::string names;
    for (const JSONValue& name : networks) {
        names += (names.empty() ? "" : ", ") + shown(name);
    }
    const bool timed = timestamp.is_number();
    const double seconds = timed ? timestamp.get<double>() : 0;
    return line(shown(timestamp), timed ? localTime(seconds).value_or("-") : "-",
                timed ? age(seconds, now) : "-", std::to_string(peripherals),
                std::to_string(services), hasLocation ? "yes" : "-", shown(address),
                names.empty() ? "-" : names);
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
