#include "tests/core/CoreFixture.hpp"

namespace AmbrelKit {
namespace {

class Records : public CoreTest {};

JSONValue json(const AmbrelData& data) { return JSONEncoder::serialize(data).value(); }

TEST_F(Records, AFreshRecordHoldsItsTimeAnEmptyNetworkAndEmptyLists) {
    EXPECT_EQ(json(AmbrelData::new_(uuid(1), at(1700000000.999))),
              JSONValue::parse(R"({"timestamp": 1700000000, "wifiNetwork": {"connectedDevices": []},
                                   "bleScan": [], "nearbyDevices": [], "ambrel_analytics": {}})"));
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
    EXPECT_EQ(json(data), JSONValue::parse(R"({
        "timestamp": 100, "ip": "192.0.2.7", "ambrel_analytics": {},
        "wifiNetwork": {"connectedDevices": [{"name": "home"}, {}]},
        "bleScan": [{"address": "00000000-0000-0000-0000-000000000002", "timestamp": 102},
                    {"address": "00000000-0000-0000-0000-000000000009", "name": "Watch", "timestamp": 101}],
        "locationCollection": {"lat": 52.5, "lon": -13.25, "timestamp": 99},
        "nearbyDevices": [{"name": "Bare", "protocolType": "_http._tcp.", "timestamp": 104},
                          {"name": "Office", "protocolType": "_ipp._tcp.", "address": "192.0.2.9",
                           "txtRecord": {"ty": "Laser", "rp": ""}, "timestamp": 103}]})"));
    EXPECT_FALSE(json(data.copyWithNetworkInfo(std::nullopt)).contains("wifiNetwork"));
}

TEST_F(Records, PointsInTimeAreWholeSecondsTruncatedTowardZero) {
    for (const auto& [seconds, written] : std::vector<std::pair<double, std::int64_t>>{
             {1.9, 1}, {-1.9, -1}, {-0.5, 0}, {0, 0}, {-2, -2}, {1700000000.999, 1700000000}}) {
        const JSONValue timestamp = json(AmbrelData::new_(uuid(1), at(seconds)))["timestamp"];
        EXPECT_TRUE(timestamp.is_number_integer()) << seconds;
        EXPECT_EQ(timestamp, written) << seconds;
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
}

TEST_F(Records, TheSnapshotAsksEachStatusOnceInOrderAndMapsIt) {
    const auto permissions = std::make_shared<FakePermissions>();
    PermissionsHelper::setPermissionsDelegate(permissions);
    permissions->bluetoothPermission = AmbrelPermissionStatus::granted;
    permissions->bluetoothSetting = AmbrelPermissionStatus::denied;
    permissions->networkSetting = static_cast<AmbrelPermissionStatus>(-3);
    permissions->locationPrecise = AmbrelPermissionStatus::granted;
    const auto data = AmbrelData::new_(uuid(1), at(0));
    EXPECT_EQ(permissions->asked,
              (std::vector<std::string>{"bluetoothPermission", "bluetoothSetting",
                                        "networkPermission", "networkSetting", "locationPermission",
                                        "locationPrecise", "locationSetting"}));
    EXPECT_EQ(
        json(data)["ambrel_analytics"],
        JSONValue::parse(
            R"({"bluetooth_permission": true, "bluetooth_setting": false, "location_precise_permission": true})"));

    permissions->bluetoothPermission = AmbrelPermissionStatus::denied;
    EXPECT_EQ(data.ambrelAnalytics().bluetoothPermission, true) << "a snapshot stays";
    EXPECT_EQ(data.copyWithAddressIPv4({}).ambrelAnalytics().bluetoothPermission, false)
        << "each copy takes a new one";
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
    auto first = std::make_shared<FakePermissions>();
    auto second = std::make_shared<FakePermissions>();
    first->networkPermission = AmbrelPermissionStatus::granted;
    second->networkPermission = AmbrelPermissionStatus::denied;
    PermissionsHelper::setPermissionsDelegate(first);
    EXPECT_EQ(PermissionsHelper::networkPermissionStatus(), AmbrelPermissionStatus::granted);
    PermissionsHelper::setPermissionsDelegate(second);
    EXPECT_EQ(PermissionsHelper::networkPermissionStatus(), AmbrelPermissionStatus::denied);
    second.reset();
    EXPECT_EQ(PermissionsHelper::networkPermissionStatus(), AmbrelPermissionStatus::unknown);
}

} // namespace
} // namespace AmbrelKit
