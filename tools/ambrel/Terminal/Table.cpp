#include "tools/ambrel/Terminal/Table.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>
#include <vector>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

using Row = std::vector<std::string>;

/// The members of a dictionary in one cell.
std::string pairs(const JSONValue& value) {
    if (!value.is_object() || value.empty()) {
        return value.is_object() ? "-" : shown(value);
    }
    std::string text;
    for (const auto& [name, each] : value.items()) {
        text += (text.empty() ? "" : "  ") + printable(name) + "=" + shown(each);
    }
    return text;
}

/// When something was seen, in seconds from the collection's start where both are points in time.
std::string seen(const JSONValue& sighting, const JSONValue& start) {
    const JSONValue& time = member(sighting, "timestamp");
    if (!time.is_number() || !start.is_number()) {
        return shown(time);
    }
    constexpr double exact = 0x1p53; // up to here doubles hold every integer
    const double offset = time.get<double>() - start.get<double>();
    if (!std::isfinite(offset)) {
        return shown(time);
    }
    const bool whole = std::abs(offset) < exact && offset == std::trunc(offset);
    const JSONValue number =
        whole ? JSONValue(static_cast<std::int64_t>(offset)) : JSONValue(offset);
    return (offset < 0 ? "" : "+") + number.dump() + " s";
}

std::string aligned(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i]));
        }
    }
    std::string text;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            text += "  " + row[i];
            text += i + 1 < row.size() ? padding(row[i], widths[i]) : "";
        }
        text += '\n';
    }
    return text;
}

/// A row for each dictionary of a list. What is of another type is shown as it is.
std::string section(const std::string& title, const JSONValue& list, const Row& headings,
                    const std::function<Row(const JSONValue&)>& rowOf) {
    if (list.is_null() || (list.is_array() && list.empty())) {
        return "\n" + title + ": none\n";
    }
    if (!list.is_array()) {
        return "\n" + title + ": " + shown(list) + "\n";
    }
    std::vector<Row> rows{headings};
    for (const JSONValue& each : list) {
        rows.push_back(each.is_object() ? rowOf(each) : Row{shown(each)});
    }
    return "\n" + title + ": " + std::to_string(list.size()) + "\n" + aligned(rows);
}

std::string dateText(const JSONValue& start) {
    const auto date = start.is_number() ? localTime(start.get<double>()) : std::nullopt;
    return date.value_or(shown(start));
}

std::string location(const JSONValue& fix, const JSONValue& start) {
    return section(
        "Location", fix.is_object() ? JSONValue::array({fix}) : fix,
        {"LATITUDE", "LONGITUDE", "DETERMINED"}, [&](const JSONValue& each) {
            return Row{shown(member(each, "lat")), shown(member(each, "lon")), seen(each, start)};
        });
}

std::string networks(const JSONValue& network) {
    return section("Wi-Fi networks",
                   network.is_object() ? member(network, "connectedDevices") : network, {"NAME"},
                   [](const JSONValue& each) { return Row{shown(member(each, "name"))}; });
}

} // namespace

std::string table(const JSONDictionary& dictionary) {
    const JSONValue& start = member(dictionary, "timestamp");
    const auto peripheral = [&](const JSONValue& each) {
        return Row{shown(member(each, "name")), shown(member(each, "address")), seen(each, start)};
    };
    const auto service = [&](const JSONValue& each) {
        return Row{shown(member(each, "name")), shown(member(each, "protocolType")),
                   shown(member(each, "address")), seen(each, start),
                   pairs(member(each, "txtRecord"))};
    };
    return aligned({{"Collected", dateText(start)},
                    {"IPv4 address", shown(member(dictionary, "ip"))}}) +
           section("Bluetooth peripherals", member(dictionary, "bleScan"),
                   {"NAME", "IDENTIFIER", "SEEN"}, peripheral) +
           section("Services", member(dictionary, "nearbyDevices"),
                   {"NAME", "TYPE", "ADDRESS", "SEEN", "TXT"}, service) +
           location(member(dictionary, "locationCollection"), start) +
           networks(member(dictionary, "wifiNetwork"));
}

} // namespace Ambrel
