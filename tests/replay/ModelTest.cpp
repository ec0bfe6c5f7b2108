#include "tests/replay/Model.hpp"
#include "AmbrelKit/Simulated/Replay/Replay.hpp"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <span>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

/// What a step is made of; rapidcheck shrinks each towards 0.
using Seed = std::tuple<std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t>;

std::string pick(std::span<const char* const> choices, std::uint8_t seed) {
    return choices[seed % choices.size()];
}

constexpr std::array hosts{
    R"("startScanning")",
    R"("startScanningOnce")",
    R"("stopScanning")",
    R"("completeScanning")",
    R"("automaticModeForNotificationAndBackgroundTask")",
    R"("create")",
    R"({"setAmbrelTimeThreshold":12})",
    R"({"setAmbrelTimeThreshold":31})",
    R"({"setAmbrelTimeThreshold":30})",
    R"({"delegate":"attached"})",
    R"({"delegate":"detached"})",
    R"({"delegate":"released"})",
    R"("release")",
};
constexpr std::array statuses{R"("granted")", R"("denied")", R"("unknown")", "1", "2", "7", "-3"};
constexpr std::array queries{
    "bluetoothPermissionStatus", "networkPermissionStatus",         "locationPermissionStatus",
    "bluetoothSettingStatus",    "locationPrecisePermissionStatus", "networkSettingStatus",
    "locationSettingStatus"};
constexpr std::array identifiers{"3CEB3FFD-1111-4222-8333-000000000001",
                                 "aaaaaaaa-bbbb-4ccc-8ddd-eeeeeeeeeeee",
                                 "AAAAAAAA-BBBB-4CCC-8DDD-EEEEEEEEEEEE"};
constexpr std::array types{"_a._tcp.", "_a._tcp.c", "_b._tcp."};
constexpr std::array names{"x",      "cx",      "",       "Caf\u00E9", "Cafe\u0301",
                           "\u212B", "A\u030A", "\u00C5", "\U0001F600"};
constexpr std::array addresses{
    "null", "[]", R"(["10020277c00002010000000000000000"])",
    R"(["1c1e0277fdc99d6e75af6547cfb11b42072482dc",""])",
    R"(["100202","1C1E00","10020050C0000202ffff","10020050C0000203ffff00FF00FF00FF"])"};
constexpr std::array txts{"null",
                          R"("")",
                          R"("0474793d41")",
                          R"("0474793D410454593d42")",
                          R"("0762696e3dff2041036b3d76")",
                          R"("036b3d7600013d04666c616720")"};
constexpr std::array coordinates{"0", "12.5", "-0.25", "100", R"("nan")", R"("-inf")"};
constexpr std::array interfaces{
    R"([{"name":"en0","address":"192.0.2.1"}])",
    R"([{"name":"lo","address":"127.0.0.1"},{"name":"pdp_ip3","address":"192.0.2.9"},{"name":"en0","address":"192.0.2.2"}])",
    R"([{"name":"en1","address":null},{"name":"en2","address":"2001:db8::1"},{"name":"en3","address":"none"}])",
    R"([{"name":"EN0","address":"192.0.2.3"},{"name":"en5","address":"192.0.2.4"}])", "[]"};
constexpr std::array captives{
    R"({"supported":["en0"],"info":{"en0":{"SSID":"home","BSSID":"x"}}})",
    R"({"supported":["en1","en0","en2"],"info":{"en0":{"SSID":7},"en1":{},"en2":null}})",
    R"({"supported":["en0",3],"info":{"en0":{"SSID":"home"}}})",
    R"({"supported":{"en0":"en0"},"info":{}})", "{}"};
constexpr std::array deltas{"0", "0.125", "1", "2.5", "9.5", "10", "0.875", "20", "31"};
constexpr std::array offsets{"0", "-15.5", "100", "12", "-1000"};
constexpr std::array starts{"0", "1700000000.875", "-20.125"};
constexpr std::array browsed{"null", "[]", R"(["_a._tcp.","_a._tcp.c","_b._tcp."])",
                             R"(["_b._tcp.","_b._tcp."])"};

std::string hostList(std::uint8_t first, std::uint8_t second) {
    return "[" + pick(hosts, first) +
           (second % 2 == 0 ? "" : "," + pick(hosts, static_cast<std::uint8_t>(second / 2))) + "]";
}

std::string fix(std::uint8_t seed, std::uint8_t other) {
    // A fix that is not finite must stay rare: no collection finishes with it.
    const auto some = std::span(coordinates).first(seed % 16 == 0 ? coordinates.size() : 4);
    return R"({"latitude":)" + pick(some, other) + R"(,"longitude":)" + pick(coordinates, 1) +
           R"(,"timestamp":)" + pick(starts, seed) + "}";
}

std::string service(std::uint8_t type, std::uint8_t name) {
    return R"("type":")" + pick(types, type) + R"(","name":")" + pick(names, name) + "\"";
}

std::string action(std::uint8_t kind, std::uint8_t a, std::uint8_t b) {
    switch (kind % 20) {
    case 0:
    case 1: // starts, nearly always
        return R"("host":)" + pick(std::span(hosts).first(a % 8 < 6 ? 2 : hosts.size()), b);
    case 2:
        return R"("host":)" + pick(std::span(hosts).first(12), b);
    case 3:
        return R"("onDelivery":)" + hostList(a, b);
    case 4:
        return R"("statuses":{")" + pick(queries, a) + R"(":)" + pick(statuses, b) + "}";
    case 5:
        return R"("clock":{"offset":)" + pick(offsets, a) + "}";
    case 6:
        return R"("bluetooth":{"state":)" + std::to_string(5 - a % 6) + "}";
    case 7:
    case 8:
        return R"("bluetooth":{"discover":{"identifier":")" + pick(identifiers, a) + "\"" +
               (b % 4 == 0 ? "" : R"(,"name":")" + pick(names, b) + "\"") + "}}";
    case 9:
    case 10:
    case 11:
        return R"("bonjour":{"found":{)" + service(a, b) + "}}";
    case 12:
    case 13:
    case 14:
        return R"("bonjour":{"resolved":{)" + service(a, b) + R"(,"addresses":)" +
               pick(addresses, static_cast<std::uint8_t>(a / 3)) + R"(,"txt":)" +
               pick(txts, static_cast<std::uint8_t>(b / 9)) + "}}";
    case 15:
        return R"("location":{"authorization":)" + std::to_string(a % 6) + "}";
    case 16:
        return R"("location":{"update":[)" + (b % 8 == 7 ? "" : fix(a, 0) + "," + fix(a, b)) + "]}";
    case 17:
        return a % 2 == 0 ? R"("network":{"interfaces":)" + pick(interfaces, b) + "}"
                          : R"("network":{"captive":)" + pick(captives, b) + "}";
    case 18:
        return R"("application":"didBecomeActive")";
    default:
        return R"("application":{"expire":)" + std::to_string(1 + a % 4) + "}";
    }
}

std::vector<std::string> makeScript(const Seed& header, const std::vector<Seed>& seeds) {
    const auto [start, services, list, permissions] = header;
    std::vector<std::string> lines{R"({"ambrelReplay":1,"start":)" + pick(starts, start) +
                                   R"(,"bonjourServices":)" + pick(browsed, services) +
                                   (list % 3 == 0 ? R"(,"identifiers":[")" + pick(identifiers, 1) +
                                                        R"(",")" + pick(identifiers, 2) + "\"]"
                                                  : "") +
                                   "}"};
    for (std::size_t i = 0; i < 3; ++i) { // the permissions
        lines.push_back(R"({"at":0,"statuses":{")" + std::string(queries.at(i)) + R"(":)" +
                        pick(statuses, (permissions >> (2 * i)) % 4 == 3 ? permissions : 0) + "}}");
    }
    double at = 0;
    for (const auto& [kind, delta, a, b] : seeds) {
        at += std::stod(pick(deltas, delta));
        std::ostringstream line;
        line << R"({"at":)" << at << "," << action(kind, a, b) << "}";
        lines.push_back(line.str());
    }
    std::ostringstream end;
    end << R"({"at":)" << at + 12 << R"(,"end":true})";
    lines.push_back(end.str());
    return lines;
}

ReplayModel::Outcome replayed(const std::string& script, bool queriesToo) {
    ReplayModel::Outcome outcome;
    std::istringstream stream(script);
    try {
        AmbrelKit::Simulated::replay(stream, {.queries = queriesToo},
                                     [&](std::string_view line) { outcome.trace += line; });
    } catch (const AmbrelKit::Simulated::ScriptError& error) {
        outcome.wrongLine = error.line();
    }
    return outcome;
}

std::string firstDifference(const std::string& expected, const std::string& found) {
    std::istringstream expectedLines(expected);
    std::istringstream foundLines(found);
    std::string expectedLine;
    std::string foundLine;
    do {
        expectedLine = foundLine = "(the end)";
        std::getline(expectedLines, expectedLine);
        std::getline(foundLines, foundLine);
    } while (expectedLine == foundLine && expectedLines && foundLines);
    return "expected: " + expectedLine + "\nfound:    " + foundLine + "\n";
}

// The framework's own hundred short scripts are soon run. It reads this before its first property.
[[maybe_unused]] const int searchLonger = setenv("RC_PARAMS", "max_success=400 max_size=150", 0);

// The counterexample is printed as a script, to be replayed; RC_PARAMS repeats the search.
RC_GTEST_PROP(ReplayModel, agreesWithRandomScripts,
              (const Seed& header, const std::vector<Seed>& seeds)) {
    const auto lines = makeScript(header, seeds);
    std::string script;
    for (const std::string& line : lines) {
        script += line + "\n";
    }
    const auto expected = ReplayModel::run(lines, true);
    const auto found = replayed(script, true);
    RC_LOG() << "script:\n" << script << firstDifference(expected.trace, found.trace);
    RC_CLASSIFY(expected.trace.find("didReceive") != std::string::npos, "delivers");
    RC_CLASSIFY(expected.wrongLine.has_value(), "wrong line");
    RC_ASSERT(found.wrongLine == expected.wrongLine);
    RC_ASSERT(found.trace.compare(expected.trace) == 0); // the log tells more than the traces
}

} // namespace
