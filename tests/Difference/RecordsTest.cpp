#include "AmbrelKit/Difference/Records.hpp"
#include "tests/Internal/CoreFixture.hpp"

namespace AmbrelKit {
namespace {

class RecordDifference : public CoreTest {};

TEST_F(RecordDifference, ShowsWhereStatesDiffer) {
    const auto record = AmbrelData::new_(uuid(1), at(100)).copyWithAddressIPv4("192.0.2.7");
    const auto before = record
                            .copyWithBluetoothScan(
                                BluetoothScan({{uuid(1), "Lamp", at(101)}, {uuid(2), {}, at(102)}}))
                            .copyWithNearbyDevices(
                                NearbyDevices({{"Office", "_ipp._tcp.", "192.0.2.9",
                                                std::map<Text, Text>{{"ty", "Laser"}}, at(103)}}));
    const auto after =
        record
            .copyWithBluetoothScan(BluetoothScan({{uuid(2), "", at(102)}, {uuid(3), {}, at(0.25)}}))
            .copyWithNearbyDevices(NearbyDevices(
                {{"Office", "_ipp._tcp.", {}, std::map<Text, Text>{{"rp", ""}}, at(103)}}))
            .copyWithNetworkInfo(WifiNetwork{{{"wlan0", "home", {}}}});
    const State states[] = {
        State::initialState().copyWithCollectedData(CollectedData().appending(before)),
        State::initialState().copyWithCollectedData(CollectedData().appending(after))};
    EXPECT_EQ(difference(states[0], states[0]), "");
    EXPECT_EQ(difference(states[0], states[1]), R"(  collectedData:
    records:
      [uuid: 00000000-0000-0000-0000-000000000001]:
        networkInfo:
          connectedDevices:
+           [interface: "wlan0"]:
+             ssid: "home"
+             bssid: absent
        bluetoothScan:
-         [identifier: 00000000-0000-0000-0000-000000000001]:
-           name: "Lamp"
-           timestamp: 1970-01-01T00:01:41Z
          [identifier: 00000000-0000-0000-0000-000000000002]:
-           name: absent
+           name: ""
+         [identifier: 00000000-0000-0000-0000-000000000003]:
+           name: absent
+           timestamp: 1970-01-01T00:00:00.25Z
        nearbyDevices:
          [protocolType: "_ipp._tcp.", name: "Office"]:
-           addressIPv4: "192.0.2.9"
+           addressIPv4: absent
            txtRecord:
-             ty: "Laser"
+             rp: ""
)");
    EXPECT_EQ(difference(Effect(Effects::none{}), Effect(Effects::scanFinished{{{"ip", 1}}})),
              "- alternative-2: {}\n+ alternative-1:\n+   data:\n+     ip: 1\n");
    EXPECT_EQ(difference(DataEvent(DataEvents::scan{ScanningMode::once}),
                         DataEvent(DataEvents::scan{ScanningMode::automatic})),
              "  alternative-0:\n-   mode: once\n+   mode: automatic\n");
}

} // namespace
} // namespace AmbrelKit
