#include "tests/Internal/CoreFixture.hpp"
#include "tests/support/Alike.hpp"

#include <AmbrelKit/AmbrelError.hpp>

#include <cmath>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

namespace AmbrelKit {
namespace {

class Records : public CoreTest {};

JSONValue json(const AmbrelData& data) { return JSONEncoder::serialize(data).value(); }

TEST_F(Records, AFreshRecordHoldsItsTimeAnEmptyNetworkAndEmptyLists) {
    EXPECT_TRUE(
        alike(json(AmbrelData::new_(uuid(1), at(1700000000.999))),
              JSONValue::parse(R"({"timestamp": 1700000000, "wifiNetwork": {"connectedDevices": []},
                                   "bleScan": [], "nearbyDevices": [], "ambrel_analytics": {}})")));
}

TEST_F(Records, AFullRecordHasEveryKeyUnderItsName) {
    const auto data =
        AmbrelData::new_(uuid(1), at(100))
            .copyWithAddressIPv4("192.0.2.7")
            .copyWithNetworkInfo(WifiNetwork{{{"wlan0", "home", "aa:bb"}, {"wlan1", {}, {}}}})
            .copyWithBluetoothScan(
                BluetoothScan({{uuid(9), "Watch", at(101.9)}, {uuid(2), {}, at(102)}}))
            .copyWithLocation({52.5, -13.25, at(99)})
            .copyWithNearbyDevices(
                NearbyDevices({{"Office", "_ipp._tcp.", "192.0.2.9",
                                std::map<Text, Text>{{"ty", "Laser"}, {"rp", ""}}, at(103)},
                               {"Bare", "_http._tcp.", {}, {}, at(104)}}));
    EXPECT_TRUE(alike(json(data), JSONValue::parse(R"({
        "timestamp": 100, "ip": "192.0.2.7", "ambrel_analytics": {},
        "wifiNetwork": {"connectedDevices": [{"name": "home"}, {}]},
        "bleScan": [{"address": "00000000-0000-0000-0000-000000000002", "timestamp": 102},
                    {"address": "00000000-0000-0000-0000-000000000009", "name": "Watch", "timestamp": 101}],
        "locationCollection": {"lat": 52.5, "lon": -13.25, "timestamp": 99},
        "nearbyDevices": [{"name": "Bare", "protocolType": "_http._tcp.", "timestamp": 104},
                          {"name": "Office", "protocolType": "_ipp._tcp.", "address": "192.0.2.9",
                           "txtRecord": {"ty": "Laser", "rp": ""}, "timestamp": 103}]})")));
    EXPECT_FALSE(json(data.copyWithNetworkInfo(std::nullopt)).contains("wifiNetwork"));
}

TEST_F(Records, PointsInTimeAreWholeSecondsTruncatedTowardZero) {
    for (const auto& [nanoseconds, written] : std::vector<std::pair<std::int64_t, std::int64_t>>{
             {1'900'000'000, 1},
             {-1'900'000'000, -1},
             {-500'000'000, 0},
             {-2'000'000'000, -2},
             {1'700'000'000'999'000'000, 1'700'000'000},
             {1'699'999'999'999'999'999, 1'700'000'000}}) { // the seconds are a double first
        const TimePoint time{std::chrono::nanoseconds(nanoseconds)};
        const JSONValue timestamp = json(AmbrelData::new_(uuid(1), time))["timestamp"];
        EXPECT_TRUE(timestamp.is_number_integer()) << nanoseconds;
        EXPECT_EQ(timestamp, written) << nanoseconds;
    }
}

TEST_F(Records, WhatHasNoDictionarySerialisesToNothing) {
    const auto data = AmbrelData::new_(uuid(1), at(0));
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(JSONEncoder::serialize(data.copyWithLocation({std::nan(""), 1, at(0)})));
    EXPECT_FALSE(JSONEncoder::serialize(data.copyWithLocation({1, -infinity, at(0)})));
    EXPECT_FALSE(JSONEncoder::serialize(std::vector<AmbrelData>{data}));
    EXPECT_TRUE(JSONEncoder::serialize(data.copyWithLocation({-0.0, 1e-300, at(0)})));
}

TEST_F(Records, EqualityCoversWhatIsNotWritten) {
    const auto data = AmbrelData::new_(uuid(1), at(0));
    EXPECT_NE(data, AmbrelData::new_(uuid(2), at(0)));
    EXPECT_EQ(json(data), json(AmbrelData::new_(uuid(2), at(0))));
    EXPECT_NE(data, AmbrelData::new_(uuid(1), at(0.5)));
    const auto joined = [&](const char* interface, const char* bssid) {
        return data.copyWithNetworkInfo(WifiNetwork{{{interface, "home", bssid}}});
    };
    EXPECT_NE(joined("a", "x"), joined("b", "x"));
    EXPECT_NE(joined("a", "x"), joined("a", "y"));
    EXPECT_EQ(json(joined("a", "x")), json(joined("b", "y")));
    EXPECT_EQ(data.copyWithAddressIPv4("caf\u00E9"), data.copyWithAddressIPv4("cafe\u0301"));
    const auto seen = [&](double time) {
        return data.copyWithBluetoothScan(BluetoothScan({{uuid(1), "Lamp", at(time)}}));
    };
    EXPECT_NE(seen(1), seen(2));
    EXPECT_EQ(seen(1), seen(1));
    const auto nowhere = data.copyWithLocation({std::nan(""), 1, at(0)});
    const auto copy = nowhere; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_NE(nowhere, copy) << "no NaN is equal to itself";
}

TEST_F(Records, WhatAListSharesBetweenItsRecordsKeepsItsSpelling) {
    const std::string composed = "\u00e9";
    const std::string decomposed = "e\u0301"; // which is the same text
    const std::map<Text, Text> txtRecords[] = {
        {{composed, composed}}, {{composed, decomposed}}, {{decomposed, composed}}, {}};
    CollectedData list;
    std::vector<std::string> given;
    for (const auto& txtRecord : txtRecords) {
        const auto number = static_cast<int>(given.size()) + 1;
        const auto data = AmbrelData::new_(uuid(number), at(number))
                              .copyWithNearbyDevices(NearbyDevices(
                                  {{"Office", "_ipp._tcp.", "192.0.2.9", txtRecord, at(number)}}));
        given.push_back(json(data).dump());
        list = list.appending(data);
    }
    std::vector<std::string> kept;
    for (const AmbrelData& data : list.records()) {
        kept.push_back(json(data).dump());
    }
    EXPECT_EQ(kept, given);
}

TEST_F(Records, AMovedRecordAndListCanBeUsed) {
    auto record = AmbrelData::new_(uuid(1), at(0));
    auto list = BluetoothScan().appending({uuid(1), {}, at(0)});
    const auto movedRecord = std::move(record);
    const auto movedList = std::move(list);
    EXPECT_EQ(movedList.elements().size(), 1U);
    // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(record, movedRecord);
    EXPECT_LE(list.appending({uuid(1), {}, at(0)}).elements().size(), 1U);
    // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
}

TEST_F(Records, AStatusHasThreeRawValuesAndAnErrorAHash) {
    for (const std::int64_t raw : {0, 1, 2}) {
        EXPECT_EQ(permissionStatus(raw), static_cast<AmbrelPermissionStatus>(raw));
    }
    EXPECT_FALSE(permissionStatus(-1) || permissionStatus(3));
    const std::unordered_set<AmbrelError> errors{AmbrelError::invalidThresholdValue,
                                                 AmbrelError::invalidThresholdValue};
    EXPECT_EQ(errors.size(), 1U);
}

TEST(Environment, IsTheSystemsClockAndRandom) {
    const auto& environment = Environment::shared();
    EXPECT_LT(std::chrono::system_clock::now() - environment.currentDate(), std::chrono::hours(1));
    EXPECT_NE(environment.generateUUID(), environment.generateUUID());
}

TEST_F(Records, TheSnapshotAsksEachStatusOnceInOrderAndMapsIt) {
    const std::vector<std::string> order{"bluetooth_permission", "bluetooth_setting",
                                         "network_permission",   "network_setting",
                                         "location_permission",  "location_precise_permission",
                                         "location_setting"};
    const auto snapshot = [&] { return AmbrelData::new_(uuid(1), at(0)); };
    for (const std::string& query : order) {
        permissions()->asked.clear();
        permissions()->answers = {{query, AmbrelPermissionStatus::granted}};
        EXPECT_EQ(json(snapshot())["ambrel_analytics"], JSONValue({{query, true}}));
        EXPECT_EQ(permissions()->asked, order);
        const auto data = snapshot();
        permissions()->answers = {{query, AmbrelPermissionStatus::denied}};
        EXPECT_EQ(json(data)["ambrel_analytics"], JSONValue({{query, true}})) << "a snapshot stays";
        EXPECT_EQ(json(data.copyWithAddressIPv4({}))["ambrel_analytics"],
                  JSONValue({{query, false}}))
            << "each copy takes a new one";
        permissions()->answers = {{query, static_cast<AmbrelPermissionStatus>(-3)}};
        EXPECT_EQ(json(snapshot())["ambrel_analytics"], JSONValue::object());
    }
}

TEST_F(Records, ASnapshotIsReadBackUnlessAValueIsNotABoolean) {
    const auto decoded = [](const char* text) {
        return AmbrelAnalytics::decode(JSONValue::parse(text));
    };
    ASSERT_TRUE(decoded("{}"));
    EXPECT_EQ(*decoded("{}"), AmbrelAnalytics());
    const auto some = decoded(
        R"({"network_setting": false, "location_setting": true, "location_permission": null, "other": 1})");
    ASSERT_TRUE(some);
    EXPECT_EQ(some->networkSetting, false);
    EXPECT_EQ(some->locationSetting, true);
    EXPECT_EQ(some->locationPermission, std::nullopt);
    for (const char* bad :
         {R"({"network_setting": 1})", R"({"location_setting": "true"})", "[]", "true"}) {
        EXPECT_FALSE(decoded(bad)) << bad;
    }
}

TEST_F(Records, TheHelperAsksTheFacadeThatRegisteredLast) {
    permissions()->answers["network_permission"] = AmbrelPermissionStatus::granted;
    EXPECT_EQ(PermissionsHelper::networkPermissionStatus(), AmbrelPermissionStatus::granted);
    auto second = std::make_shared<FakePermissions>();
    second->answers["network_permission"] = AmbrelPermissionStatus::denied;
    PermissionsHelper::setPermissionsDelegate(second);
    EXPECT_EQ(PermissionsHelper::networkPermissionStatus(), AmbrelPermissionStatus::denied);
    second.reset();
    EXPECT_EQ(PermissionsHelper::networkPermissionStatus(), AmbrelPermissionStatus::unknown);
}

} // namespace
} // namespace AmbrelKit
