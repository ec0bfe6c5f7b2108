#include "AmbrelKit/Linux/Location/GpsdReport.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace AmbrelKit::Linux {
namespace {

using namespace std::chrono;
using testing::ElementsAre;

constexpr system_clock::time_point now = sys_days(2024y / March / 1) + 1h;
constexpr system_clock::time_point told = sys_days(2024y / February / 29) + 86399s + 250ms;

TEST(GpsdReport, GivesAFixOnlyWhereThereIsOne) {
    const std::vector<std::pair<std::string, std::optional<system_clock::time_point>>> table = {
        {R"({"class":"TPV","mode":3,"time":"2024-02-29T23:59:59.250Z","lat":-90,"lon":180})", told},
        {R"({"lon":1.5,"lat":-2.5,"mode":2,"class":"TPV"})", now},
        {R"({"class":"TPV","mode":3,"time":"soon","lat":1,"lon":1})", now},
        {R"({"class":"TPV","mode":1,"lat":1,"lon":1})", {}},
        {R"({"class":"TPV","mode":"3","lat":1,"lon":1})", {}},
        {R"({"class":"TPV","mode":3,"lat":1})", {}},
        {R"({"class":"TPV","mode":3,"lat":"1","lon":1})", {}},
        {R"({"class":"TPV","mode":3,"lat":90.0001,"lon":1})", {}},
        {R"({"class":"TPV","mode":3,"lat":1,"lon":-180.0001})", {}},
        {R"({"class":"TPV","mode":3,"lat":1e999,"lon":1})", {}},
        {R"({"class":"TPV","mode":3,"lat":NaN,"lon":1})", {}},
        {R"({"class":"SKY","mode":3,"lat":1,"lon":1,"of":"TPV"})", {}},
        {R"(["TPV"])", {}},
        {R"({"class":)" + std::string(32000, '[') + std::string(32000, ']') + R"(,"of":"TPV"})",
         {}},
        {"\"TPV\"\xff\xfe", {}},
        {"", {}},
    };
    for (const auto& [line, time] : table) {
        const auto fix = fixFromGpsdReport(line, now);
        EXPECT_EQ(fix ? std::optional(fix->timestamp) : std::nullopt, time) << line;
    }
    const auto fix = fixFromGpsdReport(table[1].first, now);
    EXPECT_EQ(std::pair(fix->coordinate.latitude, fix->coordinate.longitude), std::pair(-2.5, 1.5));
    EXPECT_FALSE(fix->horizontalAccuracy || fix->altitude || fix->verticalAccuracy);
    const auto exact = fixFromGpsdReport(
        R"({"class":"TPV","mode":3,"lat":1,"lon":1,"eph":4.5,"alt":99,"altMSL":-3,"epv":12})", now);
    EXPECT_EQ(std::tuple(exact->horizontalAccuracy, exact->altitude, exact->verticalAccuracy),
              std::tuple(4.5, -3.0, 12.0));
}

TEST(GpsdReport, ReadsATimeExactly) {
    const auto day = sys_days(2024y / February / 29);
    const std::vector<std::pair<std::string, std::optional<system_clock::time_point>>> table = {
        {"2024-02-29T23:59:59.1234567899Z", day + 86399s + 123456789ns},
        {"2024-02-29T00:00:00Z", day},
        {"2024-02-29T23:59:60.5Z", day + 86400s + 500ms},
        {"1969-12-31T23:59:59.75Z", system_clock::time_point(-250ms)},
        {"2023-02-29T00:00:00Z", std::nullopt},
        {"2024-02-29T24:00:00Z", std::nullopt},
        {"2024-02-29T00:00:61Z", std::nullopt},
        {"2024-02-29T00:00:00", std::nullopt},
        {"2024-02-29T00:00:00.Z", std::nullopt},
        {"2024-02-29T00:00:00+01Z", std::nullopt},
        {"2024-02-2 T00:00:00Z", std::nullopt},
        {"9999-12-31T00:00:00Z", std::nullopt}, // beyond the clock
        {"", std::nullopt},
    };
    for (const auto& [text, time] : table) {
        EXPECT_EQ(timeFromGpsd(text), time) << text;
    }
}

TEST(GpsdReport, LinesComeWholeHoweverTheyAreCut) {
    const std::string limit(LineSplitter::longestLine, 'a');
    const std::string stream = "one\r\n\ntwo\n" + std::string(1 << 20, 'x') + "\nthree\n" + limit +
                               "\n" + limit + "a\nrest";
    for (const std::size_t cut :
         {std::size_t{1}, std::size_t{7}, std::size_t{16384}, stream.size()}) {
        LineSplitter splitter;
        std::vector<std::string> lines;
        for (std::size_t i = 0; i < stream.size(); i += cut) {
            splitter.feed(std::string_view(stream).substr(i, cut),
                          [&](std::string_view line) { lines.emplace_back(line); });
        }
        EXPECT_THAT(lines, ElementsAre("one\r", "", "two", "three", limit)) << cut;
    }
}

} // namespace
} // namespace AmbrelKit::Linux
