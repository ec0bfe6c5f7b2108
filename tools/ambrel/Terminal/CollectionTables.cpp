#include "tools/ambrel/Terminal/CollectionTables.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/Table.hpp"
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

using Row = std::vector<Cell>;

/// When something was seen, from the collection's start where both are points in time.
Cell seen(const JSONValue& sighting, const JSONValue& start) {
    const JSONValue& time = member(sighting, "timestamp");
    if (!time.is_number() || !start.is_number()) {
        return cell(time);
    }
    const double offset = time.get<double>() - start.get<double>();
    if (!std::isfinite(offset)) {
        return cell(time);
    }
    if (std::abs(offset) < 1) {
        return {"at once"};
    }
    const std::string time_ = age(0, std::abs(offset));
    return {offset < 0 ? time_ + " before" : "after " + time_};
}

/// As a person writes it: without the dot of the root.
Cell type(const JSONValue& value) {
    std::string text = shown(value);
    if (value.is_string() && text.size() > 1 && text.ends_with('.')) {
        text.pop_back();
    }
    return value.is_null() ? Cell() : Cell(text);
}

/// The members of a dictionary, each a word.
Cell pairs(const JSONValue& value) {
    std::vector<std::string> words;
    if (value.is_object()) {
        for (const auto& [name, each] : value.items()) {
            words.push_back(name + "=" + shown(each));
        }
    } else if (!value.is_null()) {
        words.push_back(shown(value));
    }
    return Cell(std::move(words));
}

/// Why nothing of a source is there, where the collection's host said so.
std::string reason(const JSONDictionary& dictionary, const std::string& permission,
                   const std::string& otherwise) {
    const JSONValue& host = member(dictionary, "ambrel_analytics");
    if (member(host, (permission + "_permission").c_str()) == false) {
        return "not asked for, without the permission";
    }
    if (member(host, (permission + "_setting").c_str()) == false) {
        return "none, since " + permission + " is off";
    }
    return otherwise;
}

struct Part {
    const char* title;
    const char* permission;
    const JSONValue& list;
    std::vector<Column> columns;
    std::function<Row(const JSONValue&)> rowOf;
};

/// A row for each dictionary of a list, those with a name first. What is of another type is shown
/// as it is.
std::string section(const JSONDictionary& dictionary, const Part& part, const Page& page) {
    const JSONValue& list = part.list;
    const auto heading = [&](const std::string& text) {
        return "\n" + page.style(Meaning::heading, part.title) + ": " + text + "\n";
    };
    if (list.is_null() || (list.is_array() && list.empty())) {
        return heading(page.style(Meaning::faint, reason(dictionary, part.permission, "none")));
    }
    if (!list.is_array()) {
        return heading(shown(list));
    }
    std::vector<Row> rows;
    for (const JSONValue& each : list) {
        rows.push_back(each.is_object() ? part.rowOf(each) : Row{cell(each)});
    }
    std::stable_partition(rows.begin(), rows.end(),
                          [](const Row& row) { return row.front().meaning != Meaning::faint; });
    constexpr std::size_t indentation = 2;
    Table table(part.columns, page, indentation);
    for (Row& row : rows) {
        table.add(std::move(row));
    }
    std::string text = heading(std::to_string(list.size())) + table.take();
    return text + table.omissions();
}

std::string location(const JSONDictionary& dictionary) {
    const JSONValue& fix = member(dictionary, "locationCollection");
    if (!fix.is_object()) {
        return fix.is_null() ? reason(dictionary, "location", "none") : shown(fix);
    }
    return shown(member(fix, "lat")) + ", " + shown(member(fix, "lon")) + "  (" +
           seen(fix, member(dictionary, "timestamp")).words.front() + ")";
}

std::string networks(const JSONDictionary& dictionary) {
    const JSONValue& network = member(dictionary, "wifiNetwork");
    const JSONValue& hosts = network.is_object() ? member(network, "connectedDevices") : network;
    if (!hosts.is_array()) {
        return hosts.is_null() ? "unknown" : shown(hosts);
    }
    std::string names;
    for (const JSONValue& host : hosts) {
        const JSONValue& name = host.is_object() ? member(host, "name") : host;
        names += (names.empty() ? "" : ", ") + (name.is_null() ? "(without a name)" : shown(name));
    }
    return names.empty() ? "none" : names;
}

std::string facts(const JSONDictionary& dictionary, const Page& page) {
    const JSONValue& start = member(dictionary, "timestamp");
    const JSONValue& address = member(dictionary, "ip");
    const auto date = start.is_number() ? localTime(start.get<double>()) : std::nullopt;
    Table table({{.heading = ""}, {.heading = "", .gap = " "}}, page);
    const auto add = [&](const char* name, const std::string& value) {
        table.add({Cell(name, Meaning::heading), Cell(wordsOf(value))});
    };
    add("Collected", date.value_or(shown(start)));
    add("IPv4 address", address.is_null() ? "none" : shown(address));
    add("Wi-Fi", networks(dictionary));
    add("Location", location(dictionary));
    return table.take();
}

} // namespace

std::string collectionTables(const JSONDictionary& dictionary, const Page& page) {
    const JSONValue& start = member(dictionary, "timestamp");
    const Part peripherals{.title = "Bluetooth peripherals",
                           .permission = "bluetooth",
                           .list = member(dictionary, "bleScan"),
                           .columns = {{.heading = "NAME", .usefulness = 3, .least = 12},
                                       {.heading = "IDENTIFIER", .usefulness = 1, .least = 9},
                                       {.heading = "SEEN", .usefulness = 2, .least = 10}},
                           .rowOf = [&](const JSONValue& each) {
                               return Row{cell(member(each, "name")), cell(member(each, "address")),
                                          seen(each, start)};
                           }};
    const Part services{.title = "Services",
                        .permission = "network",
                        .list = member(dictionary, "nearbyDevices"),
                        .columns = {{.heading = "NAME", .usefulness = 4, .least = 12},
                                    {.heading = "TYPE", .usefulness = 3, .least = 10},
                                    {.heading = "ADDRESS", .usefulness = 2, .least = 15},
                                    {.heading = "SEEN", .usefulness = 1, .least = 10},
                                    {.heading = "TXT", .least = 30, .gap = "  "}},
                        .rowOf = [&](const JSONValue& each) {
                            return Row{cell(member(each, "name")),
                                       type(member(each, "protocolType")),
                                       cell(member(each, "address")), seen(each, start),
                                       pairs(member(each, "txtRecord"))};
                        }};
    return facts(dictionary, page) + section(dictionary, peripherals, page) +
           section(dictionary, services, page);
}

} // namespace Ambrel
