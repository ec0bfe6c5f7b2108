#include "tools/ambrel/Store/CSV.hpp"

#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string_view>

namespace Ambrel {

namespace {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

std::string withoutFormula(std::string_view text) {
    constexpr std::array<std::string_view, 9> starts{"=",      "+",      "-",      "@",     "'",
                                                     "\uFF1D", "\uFF0B", "\uFF0D", "\uFF20"};
    std::string result;
    bool begins = true;
    for (; !text.empty(); text.remove_prefix(1)) {
        if (begins && std::any_of(starts.begin(), starts.end(),
                                  [&](std::string_view each) { return text.starts_with(each); })) {
            result += '\'';
        }
        result += text.front();
        begins = text.front() == ';' || (begins && text.front() == ' ');
    }
    return result;
}

std::string quoted(const std::string& text) {
    if (text.find_first_of(" ,;\"") == std::string::npos) {
        return text;
    }
    std::string result = "\"";
    for (const char character : text) {
        result.append(character == '"' ? 2 : 1, character);
    }
    return result + '"';
}

std::string field(const JSONValue& value) {
    if (value.is_null()) {
        return "";
    }
    if (value.is_number()) {
        return value.dump();
    }
    const std::string text =
        value.is_string() ? shown(value) : AmbrelKit::printableJSON(value.dump());
    return quoted(withoutFormula(text));
}

/// What stands in a line behind the collection's time, in the order of the columns.
struct Seen {
    const char* kind;
    JSONValue time{};
    JSONValue identifier{};
    JSONValue name{};
    JSONValue type{};
    JSONValue address{};
    JSONValue latitude{};
    JSONValue longitude{};
    JSONValue txt{};
};

std::string line(const JSONValue& timestamp, const Seen& seen) {
    std::string text = field(timestamp) + "," + seen.kind;
    for (const JSONValue* each : {&seen.time, &seen.identifier, &seen.name, &seen.type,
                                  &seen.address, &seen.latitude, &seen.longitude, &seen.txt}) {
        text += "," + field(*each);
    }
    return text + "\r\n";
}

} // namespace

std::string csvHeading() {
    return "timestamp,kind,seen,identifier,name,type,address,latitude,longitude,txt\r\n";
}

std::string csvLines(const JSONDictionary& collection) {
    const JSONValue& timestamp = member(collection, "timestamp");
    const JSONValue& fix = member(collection, "locationCollection");
    std::string text = line(timestamp, {.kind = "collection",
                                        .time = member(fix, "timestamp"),
                                        .address = member(collection, "ip"),
                                        .latitude = member(fix, "lat"),
                                        .longitude = member(fix, "lon")});
    const auto addEach = [&](const JSONValue& list, const auto& seen) {
        for (std::size_t i = 0; list.is_array() && i < list.size(); ++i) {
            text += line(timestamp, seen(list[i]));
        }
    };
    addEach(member(collection, "bleScan"), [](const JSONValue& each) {
        return Seen{.kind = "peripheral",
                    .time = member(each, "timestamp"),
                    .identifier = member(each, "address"),
                    .name = member(each, "name")};
    });
    addEach(member(collection, "nearbyDevices"), [](const JSONValue& each) {
        return Seen{.kind = "service",
                    .time = member(each, "timestamp"),
                    .name = member(each, "name"),
                    .type = member(each, "protocolType"),
                    .address = member(each, "address"),
                    .txt = member(each, "txtRecord")};
    });
    addEach(member(member(collection, "wifiNetwork"), "connectedDevices"),
            [](const JSONValue& each) {
                return Seen{.kind = "network", .name = member(each, "name")};
            });
    return text;
}

} // namespace Ambrel
