#include "tools/ambrel/Terminal/Output.hpp"
#include "tools/ambrel/Store/Summary.hpp"
#include "tools/ambrel/Terminal/CollectionTables.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace Ambrel {
namespace {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;
using testing::HasSubstr;

JSONDictionary dictionary(const char* json) { return JSONValue::parse(json).get<JSONDictionary>(); }

/// Five and a half hours before Greenwich.
class Output : public testing::Test {
protected:
    Output() { setenv("TZ", "IST-5:30", 1); }
};

TEST_F(Output, TheTableAlignsWhatATerminalShows) {
    const auto data = dictionary(R"({
        "timestamp": 1700000000, "ip": "192.0.2.1",
        "bleScan": [
            {"address": "00000000-0000-4000-8000-000000000001", "name": "Lamp",
             "timestamp": 1700000003},
            {"address": "00000000-0000-4000-8000-000000000002", "timestamp": 1700000000}],
        "nearbyDevices": [
            {"name": "受付", "protocolType": "_ipp._tcp.", "address": "192.0.2.7",
             "txtRecord": {"b": "2", "a": ""}, "timestamp": 1700000001},
            {"name": "Cafe\u0301", "protocolType": "_ssh._tcp.", "timestamp": 1700000012}],
        "locationCollection": {"lat": 48.5, "lon": -2.25, "timestamp": 1699999988},
        "wifiNetwork": {"connectedDevices": [{"name": "home"}, {}]}})");
    EXPECT_EQ(formatted(data, OutputFormat::table),
              "Collected     2023-11-15 03:43:20+05:30\n"
              "IPv4 address  192.0.2.1\n"
              "Wi-Fi         home, (without a name)\n"
              "Location      48.5, -2.25 (12 s before)\n"
              "\n"
              "Bluetooth peripherals: 2\n"
              "  NAME  IDENTIFIER                            SEEN\n"
              "  Lamp  00000000-0000-4000-8000-000000000001  after 3 s\n"
              "  -     00000000-0000-4000-8000-000000000002  at once\n"
              "\n"
              "Services: 2\n"
              "  NAME  TYPE       ADDRESS    SEEN        TXT\n"
              "  受付  _ipp._tcp  192.0.2.7  after 1 s   a=  b=2\n"
              "  Cafe\u0301  _ssh._tcp  -          after 12 s\n");
}

TEST_F(Output, ANameCanNotCommandTheTerminal) {
    const std::string name = "a\n\x1B[31m\x7F\u009B2J\u202Eb\u2028";
    const JSONDictionary data{{"timestamp", 0},
                              {"nearbyDevices",
                               {{{"name", name},
                                 {"protocolType", "_x._tcp."},
                                 {"txtRecord", {{name, name}}},
                                 {"timestamp", 0}}}}};
    const std::string shown = R"(a\u000a\u001b[31m\u007f\u009b2J\u202eb\u2028)";
    const std::string table = formatted(data, OutputFormat::table);
    EXPECT_THAT(table, HasSubstr("  " + shown + "  _x._tcp "));
    EXPECT_THAT(table, HasSubstr(shown + "=" + shown + "\n"));
    for (const auto format : {OutputFormat::json, OutputFormat::pretty}) {
        const std::string text = formatted(data, format);
        EXPECT_THAT(text, HasSubstr(R"("a\n\u001b[31m\u007f\u009b2J\u202eb\u2028")"));
        EXPECT_EQ(JSONValue::parse(text).get<JSONDictionary>(), data);
    }
}

/// Two services with names that terminals find hard, as they come out at a width.
std::string services(std::size_t columns, const OutputOptions& options = {}) {
    const auto data = dictionary(R"({"timestamp": 5, "nearbyDevices": [
        {"name": "受付の👨‍👩‍👧プリンター", "protocolType": "_ipp._tcp.", "address": "192.0.2.7", "timestamp": 8,
         "txtRecord": {"note": "beside the door", "rp": "ipp/print", "ty": "InkPrint 200"}},
        {"name": "e\u0301\u202Eb\u3164", "protocolType": "_Ssh._tcp.", "timestamp": 5}]})");
    const std::string text = collectionTables(data, options, {.columns = columns, .style = {}});
    return text.substr(text.find("Services"));
}

TEST_F(Output, TablesFitTheTerminal) {
    const std::string family = "👨‍👩‍👧";
    const std::string wide = "Services: 2\n"
                             "  NAME                TYPE       ADDRESS    SEEN       TXT\n"
                             "  受付の" +
                             family + "プリンター  _ipp._tcp  192.0.2.7  after 3 s  ";
    const std::string last = "  e\u0301\\u202eb\\u3164      _Ssh._tcp  -          at once\n";
    EXPECT_EQ(services(unlimited),
              wide + "note=beside the door  rp=ipp/print  ty=InkPrint 200\n" + last);
    EXPECT_EQ(services(85), wide + "note=beside the door\n" + std::string(55, ' ') +
                                "rp=ipp/print  ty=InkPrint 200\n" + last);
    EXPECT_EQ(services(36), "Services: 2\n"
                            "  NAME          TYPE       ADDRESS\n"
                            "  受付の" +
                                family +
                                "プ…   _ipp._tcp  192.0.2.7\n"
                                "      note=beside the door\n"
                                "      rp=ipp/print  ty=InkPrint 200\n"
                                "  e\u0301\\u202eb\\u3…  _Ssh._tcp  -\n"
                                "  no room for SEEN\n");
    for (std::size_t columns = 1; columns < 120; ++columns) {
        std::istringstream lines(services(columns));
        for (std::string line; columns > 20 && std::getline(lines, line);) {
            EXPECT_LE(displayWidth(line), columns) << line;
        }
    }
    const auto text = dictionary((R"({"nearbyDevices": ")" + std::string(80, 'g') + "\"}").c_str());
    EXPECT_THAT(collectionTables(text, {}, {.columns = 40, .style = {}}, {}),
                testing::EndsWith("Services:\n  " + std::string(37, 'g') + "…\n"));
}

TEST_F(Output, ANarrowListKeepsTheCountsAndCutsNoTimestamp) {
    const Summary summary(dictionary(
        R"({"timestamp": 1700000100.1234567, "bleScan": [1, 2], "ip": "192.0.2.7",
            "wifiNetwork": {"connectedDevices": [{"name": "A long name"}]}})"));
    const struct {
        std::size_t columns;
        const char* row;
    } cases[] = {
        {109, "1700000100.1234567  2023-11-15 03:45:00+05:30  2 min            2         0  -"
              "         192.0.2.7  A long name\n"},
        {80, "1700000100.1234567  2023-11-15 03:45  2 min            2         0  A long name\n"},
        {56, "2023-11-15 03:45  2 min            2         0  A long…\n"},
        {40, "2023-11-15 03:45            2         0\n"},
    };
    for (const auto& [columns, row] : cases) {
        Table table(Summary::columns(), {.columns = columns, .style = {}});
        table.add(summary.row(1700000220.5));
        EXPECT_THAT(table.take(), testing::EndsWith(std::string("\n") + row)) << columns;
    }
}

TEST_F(Output, NothingInANameIsUnseen) {
    const struct {
        const char* name;
        const char* shown;
    } cases[] = {
        {"1\uFE0F\u20E3 ©\uFE0F ❤\uFE0F क्\u200Dष", "1\uFE0F\u20E3 ©\uFE0F ❤\uFE0F क्\u200Dष"},
        {"a\uFE00b", R"(a\ufe00b)"},
        {"❤\uFE0F\U000E0100", "❤\uFE0F\\U000e0100"},
        {"\uFE0Fa\u200Db", R"(\ufe0fa\u200db)"},
        {"a\u034F\u17B4\uFFF9b", R"(a\u034f\u17b4\ufff9b)"},
        {"a\U000E0041\U000E0042", R"(a\U000e0041\U000e0042)"}, // an escape lets nothing after it in
        {"❤\u200D\u200Ba", R"(❤\u200d\u200ba)"},
    };
    for (const auto& [name, shown] : cases) {
        EXPECT_EQ(printable(name), shown);
    }
}

TEST_F(Output, PrintsWhatWasChosen) {
    OutputOptions options;
    options.columns = {"txt", "type", "nonsense"};
    options.filter.setTypes({"_ssh._TCP."});
    EXPECT_EQ(services(unlimited, options), "Services: 1 of 2 shown\n"
                                            "  TYPE       TXT\n"
                                            "  _Ssh._tcp\n");
    options.filter.setNames({"\u00C9"}); // composed, in upper case
    EXPECT_THAT(services(unlimited, options), HasSubstr("1 of 2"));
    options.filter.setNames({"x"});
    EXPECT_EQ(services(unlimited, options), "Services: none of 2 shown\n");
}

TEST_F(Output, TheTableShowsValuesOfOtherTypesAsTheyAre) {
    const struct {
        const char* json;
        const char* shown;
    } cases[] = {
        {R"({"timestamp": "now", "ip": 7})", "Collected     now\nIPv4 address  7\n"},
        {R"({"timestamp": 1e300, "ip": null})", "Collected     1e+300\nIPv4 address  none\n"},
        {R"({"timestamp": 1.5})", "Collected     1970-01-01 05:30:01+05:30\n"},
        {"{}",
         "Collected     -\nIPv4 address  none\nWi-Fi         unknown\nLocation      no fix\n"},
        {R"({"bleScan": {"a": 1}})", "Bluetooth peripherals: {\"a\":1}\n"},
        {R"({"bleScan": [5, {"name": [1]}]})", "  5\n  [1]   -           -\n"},
        {R"({"timestamp": 2, "bleScan": [{"timestamp": 3.5}]})", "-           after 1 s\n"},
        {R"({"timestamp": 9223372036854775807, "bleScan": [{"timestamp": -9223372036854775807}]})",
         "-           584542046090 y before\n"},
        {R"({"timestamp": -1e308, "bleScan": [{"timestamp": 1e308}]})", "-           1e+308\n"},
        {R"({"timestamp": 1, "bleScan": [{"timestamp": true}]})", "-           true\n"},
        {R"({"nearbyDevices": [{"txtRecord": {"a": 1}}]})", "-     a=1\n"},
        {R"({"nearbyDevices": [{"txtRecord": [1]}]})", "-     [1]\n"},
        {R"({"locationCollection": 3})", "Location      3\n"},
        {R"({"locationCollection": {"lat": "north"}})", "Location      north, - (-)\n"},
        {R"({"wifiNetwork": [1]})", "Wi-Fi         1\n"},
        {R"({"wifiNetwork": ["two  spaces "]})", "Wi-Fi         two  spaces \n"},
        {R"({"wifiNetwork": {"connectedDevices": "all"}})", "Wi-Fi         all\n"},
        {R"({"ambrel_analytics": {"bluetooth_setting": false, "location_permission": false,
                                  "network_permission": true, "network_setting": true}})",
         "Location      not collected, since not permitted\n"
         "\nBluetooth peripherals: none seen, since it was switched off\n"
         "\nServices: none found\n"},
    };
    for (const auto& [json, shown] : cases) {
        EXPECT_THAT(formatted(dictionary(json), OutputFormat::table), HasSubstr(shown)) << json;
    }
}

} // namespace
} // namespace Ambrel
