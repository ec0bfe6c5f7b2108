#include "tools/ambrel/Summary.hpp"

#include "tools/ambrel/PointInTime.hpp"
#include "tools/ambrel/TerminalText.hpp"

#include <array>
#include <cstdlib>
#include <iomanip>
#include <sstream>

namespace Ambrel {

namespace {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

const JSONValue& value(const JSONDictionary& dictionary, const char* key) {
    static const JSONValue missing;
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? missing : found->second;
}

const JSONDictionary& dictionary(const JSONValue& value) {
    static const JSONDictionary none;
    return value.is_object() ? value.get_ref<const JSONDictionary&>() : none;
}

const JSONValue::array_t& list(const JSONValue& value) {
    static const JSONValue::array_t none;
    return value.is_array() ? value.get_ref<const JSONValue::array_t&>() : none;
}

std::optional<std::string> text(const JSONValue& value) {
    return value.is_string() ? std::optional(value.get<std::string>()) : std::nullopt;
}

std::vector<std::string> networksOf(const JSONDictionary& collection) {
    std::vector<std::string> names;
    const auto& network = dictionary(value(collection, "wifiNetwork"));
    for (const JSONValue& host : list(value(network, "connectedDevices"))) {
        if (auto name = text(value(dictionary(host), "name"))) {
            names.push_back(std::move(*name));
        }
    }
    return names;
}

template <class... Columns> std::string line(const Columns&... columns) {
    constexpr std::array widths{-12, -19, 8, 11, 8, -8, -15, 0};
    static_assert(sizeof...(columns) == widths.size());
    std::ostringstream line;
    std::size_t column = 0;
    const auto put = [&](const auto& text) {
        const int width = widths[column];
        line << (column++ > 0 ? "  " : "") << (width < 0 ? std::left : std::right)
             << std::setw(std::abs(width)) << text;
    };
    (put(columns), ...);
    return line.str();
}

} // namespace

Summary::Summary(const JSONDictionary& collection)
    : timestamp(value(collection, "timestamp")),
      peripherals(list(value(collection, "bleScan")).size()),
      services(list(value(collection, "nearbyDevices")).size()),
      hasLocation(value(collection, "locationCollection").is_object()),
      address(text(value(collection, "ip"))), networks(networksOf(collection)) {
    if (!timestamp.is_number()) {
        timestamp = nullptr;
    }
}

std::string Summary::heading() {
    return line("TIMESTAMP", "LOCAL TIME", "AGE", "PERIPHERALS", "SERVICES", "LOCATION", "ADDRESS",
                "WI-FI");
}

std::string Summary::row(double now) const {
    std::string names;
    for (const std::string& name : networks) {
        names += (names.empty() ? "" : ", ") + printable(name);
    }
    const bool timed = timestamp.is_number();
    const double seconds = timed ? timestamp.get<double>() : 0;
    return line(timed ? timestamp.dump() : "-", timed ? localTime(seconds) : "-",
                timed ? age(seconds, now) : "-", peripherals, services, hasLocation ? "yes" : "-",
                printable(address.value_or("-")), names.empty() ? "-" : names);
}

JSONDictionary Summary::json() const {
    JSONDictionary summary{{"peripherals", peripherals},
                           {"services", services},
                           {"location", hasLocation},
                           {"wifi", networks}};
    if (timestamp.is_number()) {
        summary.emplace("timestamp", timestamp);
    }
    if (address) {
        summary.emplace("address", *address);
    }
    return summary;
}

} // namespace Ambrel
