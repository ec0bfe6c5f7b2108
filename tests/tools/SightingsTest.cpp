#include "tools/ambrel/Live/Sightings.hpp"
#include "tools/ambrel/Live/Pages.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace Ambrel {
namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;

struct Report {
    std::chrono::seconds at;
    Source source;
    const char* report;
    JSONDictionary details;
};

const std::vector<Report> whatIsReported{
    {0s, Source::bluetooth, "state", {{"state", "powered-on"}}},
    {0s, Source::bluetooth, "peripheral", {{"address", "A"}, {"name", "lamp"}, {"rssi", -80}}},
    {1s, Source::bluetooth, "peripheral", {{"address", "B"}, {"rssi", -40}}},
    {2s, Source::services, "found", {{"protocolType", "_ipp._tcp."}, {"name", "Ärger"}}},
    {2s, Source::services, "found", {{"protocolType", "_http._tcp."}, {"name", "Ärger"}}},
    {3s, Source::location, "fix", {{"lat", 48.137154}, {"lon", -0.5}, {"horizontalAccuracy", 4.6}}},
    {4s, Source::address, "address", {{"ip", "192.0.2.7"}, {"interface", "wlan0"}}},
    {5s,
     Source::wifi,
     "networks",
     {{"connectedDevices", {{{"interface", "wlan0"}, {"name", "Net"}}}}}},
    {6s, Source::address, "address", {}}, // there is none any more
    {7s, Source::location, "fix", {{"lat", 1.0}, {"lon", 2.0}}},
    {8s, Source::bluetooth, "peripheral", {{"address", "A"}, {"advertisement", JSONDictionary()}}},
};

Sightings after(std::chrono::seconds time) {
    Sightings sightings;
    for (const Report& each : whatIsReported) {
        if (each.at <= time) {
            sightings.update(each.source, each.report, each.details, {.time = each.at, .date = {}});
        }
    }
    sightings.drop(time);
    return sightings;
}

std::string namesOf(const std::vector<const Sighting*>& rows) {
    std::string names;
    for (const Sighting* row : rows) {
        names += (names.empty() ? "" : "|") + (row->name.empty() ? row->note : row->name);
    }
    return names;
}

TEST(SightingsTest, RowsInEachOrderAndWithEachFilter) {
    struct Case {
        SightingOrder order;
        const char* filter;
        const char* rows;
    };
    using enum SightingOrder;
    for (const auto& [order, filter, rows] : std::vector<Case>{
             {kind, "", "lamp|B|Ärger|Ärger|1.00000, 2.00000|192.0.2.7|Net"},
             {SightingOrder::name, "", "1.00000, 2.00000|192.0.2.7|lamp|Net|Ärger|Ärger|B"},
             {lastSeen, "", "lamp|1.00000, 2.00000|Net|192.0.2.7|Ärger|Ärger|B"},
             {firstSeen, "", "Net|192.0.2.7|1.00000, 2.00000|Ärger|Ärger|B|lamp"},
             {strength, "peripheral", "B|lamp"},
             {kind, "äRGER _ipp", "Ärger"},
             {kind, "nothing", ""},
         }) {
        EXPECT_EQ(namesOf(after(9s).rows(order, filter)), rows) << Ambrel::name(order) << filter;
    }
}

TEST(SightingsTest, AReportThatSaysLessTakesNothingBack) {
    const Sightings sightings = after(9s);
    const Sighting* lamp = sightings.find(SightingKind::peripheral, "A");
    ASSERT_NE(lamp, nullptr);
    EXPECT_EQ(lamp->name, "lamp");
    EXPECT_EQ(lamp->strength, -80);
    EXPECT_EQ(lamp->first.time, 0s);
    EXPECT_EQ(lamp->last.time, 8s);
    EXPECT_EQ(lamp->details.at("rssi"), -80);
    const Sighting* position = sightings.find(SightingKind::position, "");
    ASSERT_NE(position, nullptr);
    EXPECT_EQ(position->note, "±5 m");
}

TEST(SightingsTest, WhatIsNotSeenAgainFadesAndGoes) {
    const auto states = [](std::chrono::seconds time) {
        const Sightings sightings = after(time);
        std::string states;
        for (const Sighting* row : sightings.rows(SightingOrder::kind, "")) {
            states += row->fades(time) ? '-' : row->isNew(time) ? '*' : '.';
        }
        return states;
    };
    EXPECT_EQ(states(9s), "*******");
    EXPECT_EQ(states(12s), "....***");
    EXPECT_EQ(states(26s), ".---...");
    EXPECT_EQ(states(40s), "-------");
    EXPECT_EQ(states(64s), "----");
    EXPECT_EQ(states(69s), "");
}

TEST(SightingsTest, AWeakSignalIsWholeAndAJoinedPictureIsOneThatNcursesCounts) {
    Sightings sightings;
    sightings.update(
        Source::bluetooth, "peripheral",
        {{"name", "\u2764\ufe0f\U0001f44d\U0001f3fd\U0001f468\u200d\U0001f469"}, {"rssi", -100}},
        {});
    const auto rows = sightings.rows(SightingOrder::kind, "");
    EXPECT_EQ(sightingLines(rows, 0, 1, 40, 0s).at(1).pieces.at(0).text,
              "* \u2764\U0001f44d\U0001f468\U0001f469" + std::string(17, ' ') + "____ -100 now ");
}

} // namespace
} // namespace Ambrel
