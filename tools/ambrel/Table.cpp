#include "tools/ambrel/Table.hpp"

#include "tools/ambrel/TerminalText.hpp"

#include <algorithm>
#include <array>
#include <ctime>
#include <vector>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

using Row = std::vector<std::string>;

/// The value under `key` for a cell: text as it is, anything else as JSON, "-" when it is absent.
std::string cell(const JSONValue& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) {
        return "-";
    }
    return printable(found->is_string() ? found->get_ref<const std::string&>() : found->dump());
}

std::string pairs(const JSONValue& object, const char* key) {
    const auto found = object.find(key);
    std::string text;
    if (found != object.end()) {
        for (const auto& [name, value] : found->items()) {
            text += (text.empty() ? "" : "  ") + printable(name) + "=" +
                    printable(value.get<std::string>());
        }
    }
    return text.empty() ? "-" : text;
}

/// When something was seen, in seconds from the collection's start.
std::string seen(const JSONValue& object, std::int64_t start) {
    const std::int64_t offset = object.value("timestamp", start) - start;
    std::string text = offset < 0 ? "" : "+";
    text += std::to_string(offset);
    return text + " s";
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
            text += "  ";
            text += row[i];
            if (i + 1 < row.size()) {
                text.append(widths[i] - displayWidth(row[i]), ' ');
            }
        }
        text += '\n';
    }
    return text;
}

/// A section; `rows` starts with the headings.
std::string section(const std::string& title, const std::vector<Row>& rows) {
    if (rows.size() == 1) {
        return "\n" + title + ": none\n";
    }
    return "\n" + title + ": " + std::to_string(rows.size() - 1) + "\n" + aligned(rows);
}

std::string dateText(std::int64_t seconds) {
    const std::time_t time = seconds;
    std::tm date{};
    gmtime_r(&time, &date);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &date);
    return text.data();
}

std::string heading(const JSONValue& data, std::int64_t start) {
    return aligned({{"Collected", dateText(start)}, {"IPv4 address", cell(data, "ip")}});
}

std::string peripherals(const JSONValue& list, std::int64_t start) {
    std::vector<Row> rows{{"NAME", "IDENTIFIER", "SEEN"}};
    for (const JSONValue& each : list) {
        rows.push_back({cell(each, "name"), cell(each, "address"), seen(each, start)});
    }
    return section("Bluetooth peripherals", rows);
}

std::string services(const JSONValue& list, std::int64_t start) {
    std::vector<Row> rows{{"NAME", "TYPE", "ADDRESS", "SEEN", "TXT"}};
    for (const JSONValue& each : list) {
        rows.push_back({cell(each, "name"), cell(each, "protocolType"), cell(each, "address"),
                        seen(each, start), pairs(each, "txtRecord")});
    }
    return section("Services", rows);
}

std::string location(const JSONValue& data, std::int64_t start) {
    std::vector<Row> rows{{"LATITUDE", "LONGITUDE", "DETERMINED"}};
    if (const auto fix = data.find("locationCollection"); fix != data.end()) {
        rows.push_back({cell(*fix, "lat"), cell(*fix, "lon"), seen(*fix, start)});
    }
    return section("Location", rows);
}

std::string networks(const JSONValue& data) {
    std::vector<Row> rows{{"NAME"}};
    for (const JSONValue& each :
         data.value("/wifiNetwork/connectedDevices"_json_pointer, JSONValue::array())) {
        rows.push_back({cell(each, "name")});
    }
    return section("Wi-Fi networks", rows);
}

} // namespace

std::string table(const JSONDictionary& dictionary) {
    const JSONValue data = dictionary;
    const std::int64_t start = data.value("timestamp", std::int64_t{0});
    const JSONValue none = JSONValue::array();
    return heading(data, start) + peripherals(data.value("bleScan", none), start) +
           services(data.value("nearbyDevices", none), start) + location(data, start) +
           networks(data);
}

} // namespace Ambrel
