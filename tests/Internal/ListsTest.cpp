#include "tests/Internal/CoreFixture.hpp"

#include <algorithm>
#include <random>

namespace AmbrelKit {
namespace {

class Lists : public CoreTest {};

/// The rule in its plainest form: candidates in order, the later of one key wins, then a stable
/// sort.
template <class Element, class Key, class Order> std::vector<Element>
plainMerge(std::vector<Element> list, const Element& added, Key key, Order order) {
    std::erase_if(list, [&](const Element& element) { return key(element) == key(added); });
    list.push_back(added);
    std::stable_sort(list.begin(), list.end(), order);
    return list;
}

TEST_F(Lists, AddingAgreesWithThePlainRuleAndLeavesTheOldListAsItWas) {
    std::mt19937 random(7);
    const std::vector<std::string> types{"_a._tcp.", "_b._tcp.", "_a._tcp.c", "_caf\u00E9._tcp.",
                                         "_cafe\u0301._tcp."};
    const std::vector<std::string> names{"",           "c",       "Office", "Caf\u00E9",
                                         "Cafe\u0301", "\u0301x", "cOffice"};
    NearbyDevices list;
    std::vector<NearbyDevice> plain;
    for (int i = 0; i < 600; ++i) { // well beyond the point where notes are put in order
        const NearbyDevice device{names[random() % names.size()] +
                                      (random() % 3 == 0 ? std::to_string(random() % 90) : ""),
                                  types[random() % types.size()],
                                  {},
                                  {},
                                  at(i)};
        const NearbyDevices before = list;
        list = list.appending(device);
        ASSERT_EQ(before.elements(), plain);
        plain = plainMerge(
            plain, device, [](const auto& d) { return d.protocolTypeWithName(); }, std::less<>());
        ASSERT_EQ(list.elements(), plain) << i;
    }
}

TEST_F(Lists, PeripheralsAreMergedAsThePlainRuleSays) {
    std::mt19937 random(5);
    BluetoothScan list;
    std::vector<BluetoothPeripheral> plain;
    for (int i = 0; i < 600; ++i) {
        const BluetoothPeripheral seen{uuid(static_cast<std::uint8_t>(random() % 150)),
                                       std::to_string(i), at(i)};
        list = list.appending(seen);
        plain = plainMerge(
            plain, seen, [](const auto& each) { return each.identifier; }, std::less<>());
        ASSERT_EQ(list.elements(), plain) << i;
    }
}

TEST_F(Lists, ARecordThatIsClosedSharesWhatItCanAndStaysAsItWas) {
    const auto record = [](double time, const char* name) {
        return AmbrelData::new_(UUID::random(), at(time))
            .copyWithAddressIPv4(Text("192.0.2.1"))
            .copyWithNetworkInfo(WifiNetwork{{{"wlan0", Text("Birch House"), {}}}})
            .copyWithBluetoothScan(BluetoothScan({{uuid(1), Text(name), at(time)}}))
            .copyWithNearbyDevices(NearbyDevices(
                {{name, "_a._tcp.", {}, std::map<Text, Text>{{"k", name}}, at(time)}}));
    };
    const std::vector<AmbrelData> records{record(1, "Caf\u00E9"), record(2, "Caf\u00E9"),
                                          record(3, "Cafe\u0301"), record(4, "")};
    CollectedData list;
    for (const AmbrelData& each : records) {
        list = list.appending(each);
    }
    ASSERT_EQ(list.records(), records);
    const auto scanned = [kept = list.records()](std::size_t i) {
        return kept[i].bluetoothScan().elements()[0].name->string();
    };
    EXPECT_EQ(scanned(0).data(), scanned(1).data()) << "is in memory twice";
    EXPECT_EQ(scanned(2), "Cafe\u0301") << "was taken for another spelling";
}

TEST_F(Lists, OneKeyMayComeFromTwoTypesAndFromTwoSpellings) {
    const auto list = NearbyDevices({{"c", "_ab", {}, {}, at(1)}, {"bc", "_a", {}, {}, at(2)}});
    ASSERT_EQ(list.elements().size(), 1U);
    EXPECT_EQ(list.elements()[0].name.string(), "bc");
    const auto spelled =
        NearbyDevices({{"Caf\u00E9", "_a", {}, {}, at(1)}, {"Cafe\u0301", "_a", {}, {}, at(2)}});
    ASSERT_EQ(spelled.elements().size(), 1U);
    EXPECT_EQ(spelled.elements()[0].name.string(), "Cafe\u0301");
}

TEST_F(Lists, PeripheralsSortByIdentifierAloneServicesByTypeThenName) {
    const BluetoothPeripheral seen{uuid(1), "b", at(2)};
    for (const BluetoothPeripheral& again :
         {BluetoothPeripheral{uuid(1), "b", at(1)}, BluetoothPeripheral{uuid(1), "a", at(2)}}) {
        EXPECT_NE(seen, again);
        EXPECT_FALSE(seen < again || again < seen);
    }
    EXPECT_LT(seen, (BluetoothPeripheral{uuid(2), "a", at(1)}));
    const NearbyDevice ascending[] = {{"z", "_a._tcp.", {}, {}, at(3)},
                                      {"a", "_b._tcp.", {}, {}, at(2)},
                                      {"b", "_b._tcp.", {}, {}, at(1)}};
    EXPECT_TRUE(ascending[0] < ascending[1] && ascending[1] < ascending[2]);
    EXPECT_FALSE(ascending[1] < ascending[0] || ascending[2] < ascending[1]);
}

TEST_F(Lists, RecordsStayInOrderOfTheirTimeOneForEachIdentifier) {
    std::mt19937 random(11);
    CollectedData list;
    std::vector<AmbrelData> plain;
    for (int i = 0; i < 400; ++i) {
        const auto record = AmbrelData::new_(uuid(static_cast<std::uint8_t>(random() % 200)),
                                             at(static_cast<double>(random() % 50)));
        list = list.appending(record);
        plain = plainMerge(
            plain, record, [](const auto& r) { return r.uuid(); },
            [](const auto& a, const auto& b) { return a.createdAt() < b.createdAt(); });
        ASSERT_EQ(list.records(), plain) << i;
        ASSERT_EQ(list.last(), plain.back()) << i;
    }
    EXPECT_EQ(list.appending(std::nullopt), list);
}

TEST_F(Lists, ALimitKeepsTheNewest) {
    for (const std::size_t limit : {1U, 3U, 100U}) {
        auto list = CollectedData().limitedTo(limit);
        for (int i = 0; i < 1000; ++i) {
            list = list.appending(AmbrelData::new_(UUID::random(), at(i)));
            const auto records = list.records();
            ASSERT_EQ(records.size(),
                      std::min<std::size_t>(limit, static_cast<std::size_t>(i) + 1));
            ASSERT_EQ(records.back().createdAt(), at(i));
        }
    }
    EXPECT_EQ(CollectedData().limitedTo(0).limit(), 1U);
}

TEST_F(Lists, TwoListsThatCameFromOneGoTheirOwnWays) {
    for (const int held : {0, 3, 200}) { // nothing, notes alone, and notes behind what is in order
        NearbyDevices list;
        for (int i = 0; i < held; ++i) {
            list = list.appending({std::to_string(i), "_a._tcp.", {}, {}, at(i)});
        }
        const auto before = list.elements();
        const auto one = list.appending({"one", "_b._tcp.", {}, {}, at(1)});
        const auto other = list.appending({"other", "_b._tcp.", {}, {}, at(2)});
        EXPECT_EQ(list.elements(), before);
        EXPECT_EQ(one.elements().back().name, Text("one"));
        EXPECT_EQ(other.elements().back().name, Text("other"));
        EXPECT_EQ(other.elements().size(), before.size() + 1);
    }
}

} // namespace
} // namespace AmbrelKit
