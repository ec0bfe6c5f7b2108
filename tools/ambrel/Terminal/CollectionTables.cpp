#include "tools/ambrel/Terminal/CollectionTables.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/Table.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>
#include <vector>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

using Row = std::vector<Cell>;

constexpr std::size_t belowHeading = 2; ///< the indentation of what stands there

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
        return Cell("at once");
    }
    const std::string passed = age(0, std::abs(offset));
    return Cell(offset < 0 ? passed + " before" : "after " + passed);
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

const JSONValue& startOf(const JSONDictionary& dictionary) {
    return member(dictionary, "timestamp");
}

/// A collection, and how it is printed.
struct Subject {
    const JSONDictionary& dictionary;
    const OutputOptions& options;
    const Page& page;
    const std::vector<std::string>& deaf;
};

/// What is said where a source has nothing.
std::string nothingOf(const Subject& subject, const std::string& source, const std::string& text) {
    const bool isDeaf =
        std::find(subject.deaf.begin(), subject.deaf.end(), source) != subject.deaf.end();
    return isDeaf ? "unknown, since nothing could listen" : text;
}

/// The same where the host may have refused the permission, or said that it is switched off.
std::string nothingOf(const Subject& subject, const std::string& source,
                      const std::string& permission, const std::string& text) {
    const JSONValue& host = member(subject.dictionary, "ambrel_analytics");
    if (member(host, (permission + "_permission").c_str()) == false) {
        return "not collected, since not permitted";
    }
    if (member(host, (permission + "_setting").c_str()) == false) {
        return text + ", since it was switched off";
    }
    return nothingOf(subject, source, text);
}

struct Part {
    const char* title;
    const char* source;
    const char* permission;
    const char* none;
    const char* key; ///< of its list in the dictionary
    std::vector<Column> columns;
    Row (*rowOf)(const JSONValue& sighting, const JSONValue& start);
};

const std::array<Part, 2>& parts() {
    static const std::array<Part, 2> parts{
        {{.title = "Bluetooth peripherals",
          .source = "bluetooth",
          .permission = "bluetooth",
          .none = "none seen",
          .key = "bleScan",
          .columns = {{.heading = "NAME", .usefulness = 3, .least = 12},
                      {.heading = "IDENTIFIER", .usefulness = 1, .least = 9},
                      {.heading = "SEEN", .usefulness = 2, .least = 10}},
          .rowOf =
              [](const JSONValue& each, const JSONValue& start) {
                  return Row{cell(member(each, "name")), cell(member(each, "address")),
                             seen(each, start)};
              }},
         {.title = "Services",
          .source = "services",
          .permission = "network",
          .none = "none found",
          .key = "nearbyDevices",
          .columns = {{.heading = "NAME", .usefulness = 4, .least = 12},
                      {.heading = "TYPE", .usefulness = 3, .least = 10},
                      {.heading = "ADDRESS", .usefulness = 2, .least = 15},
                      {.heading = "SEEN", .usefulness = 1, .least = 10},
                      {.heading = "TXT", .least = 30, .gap = "  "}},
          .rowOf = [](const JSONValue& each, const JSONValue& start) {
              return Row{cell(member(each, "name")), type(member(each, "protocolType")),
                         cell(member(each, "address")), seen(each, start),
                         pairs(member(each, "txtRecord"))};
          }}}};
    return parts;
}

/// A row for each dictionary of a list, those with a name first. What is of another type is shown
/// as it is.
std::string rowsOf(const Subject& subject, const Part& part,
                   const std::vector<const JSONValue*>& list) {
    const JSONValue& start = startOf(subject.dictionary);
    std::vector<Row> rows;
    rows.reserve(list.size());
    for (const JSONValue* each : list) {
        rows.push_back(each->is_object() ? part.rowOf(*each, start) : Row{cell(*each)});
    }
    std::stable_partition(rows.begin(), rows.end(),
                          [](const Row& row) { return row.front().meaning != Meaning::faint; });
    Table table(part.columns, subject.page, belowHeading);
    table.choose(subject.options.columns);
    for (Row& row : rows) {
        table.add(std::move(row));
    }
    const std::string text = table.take();
    return text + table.omissions();
}

std::string section(const Subject& subject, const Part& part) {
    const Page& page = subject.page;
    const JSONValue& list = member(subject.dictionary, part.key);
    const auto heading = [&](const std::string& text, Meaning meaning = Meaning::plain) {
        const std::string title = part.title + std::string(":");
        const bool fits = displayWidth(title) + 1 + displayWidth(text) <= page.columns;
        const std::string line = "\n" + page.style(Meaning::heading, title);
        return line +
               (fits ? " " + page.style(meaning, text)
                     : "\n  " + page.style(meaning, cut(text, page.columns - belowHeading))) +
               "\n";
    };
    if (list.is_null() || (list.is_array() && list.empty())) {
        return heading(nothingOf(subject, part.source, part.permission, part.none), Meaning::faint);
    }
    if (!list.is_array()) {
        return heading(shown(list));
    }
    std::vector<const JSONValue*> printed;
    for (const JSONValue& each : list) {
        if (subject.options.filter.letsThrough(each)) {
            printed.push_back(&each);
        }
    }
    const std::string count = std::to_string(list.size());
    if (printed.empty()) {
        return heading("none of " + count + " shown");
    }
    const std::string some = std::to_string(printed.size()) + " of " + count + " shown";
    return heading(printed.size() < list.size() ? some : count) + rowsOf(subject, part, printed);
}

std::string location(const Subject& subject) {
    const JSONValue& fix = member(subject.dictionary, "locationCollection");
    if (!fix.is_object()) {
        return fix.is_null() ? nothingOf(subject, "location", "location", "no fix") : shown(fix);
    }
    return shown(member(fix, "lat")) + ", " + shown(member(fix, "lon")) + " (" +
           seen(fix, startOf(subject.dictionary)).words.front() + ")";
}

std::string networks(const Subject& subject) {
    const JSONValue& network = member(subject.dictionary, "wifiNetwork");
    const JSONValue& hosts = network.is_object() ? member(network, "connectedDevices") : network;
    if (!hosts.is_array()) {
        return hosts.is_null() ? "unknown" : shown(hosts);
    }
    std::string names;
    for (const JSONValue& host : hosts) {
        const JSONValue& name = host.is_object() ? member(host, "name") : host;
        names += (names.empty() ? "" : ", ") + (name.is_null() ? "(without a name)" : shown(name));
    }
    return names.empty() ? nothingOf(subject, "wifi", "none joined") : names;
}

std::string localTimeOf(const JSONDictionary& dictionary) {
    const JSONValue& start = startOf(dictionary);
    const auto date = start.is_number() ? localTime(start.get<double>()) : std::nullopt;
    return date.value_or(shown(start));
}

/// The time in a line across the page.
std::string mark(const std::string& time, const Page& page) {
    constexpr std::size_t usual = 80;
    constexpr std::string_view dash = "─";
    std::string line =
        cut("── " + time, page.columns - std::min<std::size_t>(page.columns, 1)) + " ";
    const std::size_t width = page.columns == unlimited ? usual : page.columns;
    for (std::size_t column = displayWidth(line); column < width; ++column) {
        line += dash;
    }
    return page.style(Meaning::heading, line) + "\n";
}

std::string facts(const Subject& subject) {
    const JSONDictionary& dictionary = subject.dictionary;
    const JSONValue& address = member(dictionary, "ip");
    Table table({{.heading = ""}, {.heading = "", .gap = " "}}, subject.page);
    const auto add = [&](const char* name, const std::string& value) {
        table.add({Cell(name, Meaning::heading), Cell(value)});
    };
    if (!subject.options.marksTime) {
        add("Collected", localTimeOf(dictionary));
    }
    add("IPv4 address", address.is_null() ? nothingOf(subject, "address", "none") : shown(address));
    add("Wi-Fi", networks(subject));
    add("Location", location(subject));
    return (subject.options.marksTime ? mark(localTimeOf(dictionary), subject.page) : "") +
           table.take();
}

} // namespace

std::vector<std::string> collectionColumns() {
    std::vector<std::string> names;
    for (const Part& part : parts()) {
        for (const std::string& name : columnNames(part.columns)) {
            if (std::find(names.begin(), names.end(), name) == names.end()) {
                names.push_back(name);
            }
        }
    }
    return names;
}

std::string collectionTables(const JSONDictionary& dictionary, const OutputOptions& options,
                             const Page& page, const std::vector<std::string>& deaf) {
    const Subject subject{dictionary, options, page, deaf};
    std::string text = facts(subject);
    for (const Part& part : parts()) {
        text += section(subject, part);
    }
    return text;
}

} // namespace Ambrel
