#include "AmbrelKit/Internal/Logic/BluetoothDevicesProvider.hpp"
#include "AmbrelKit/Internal/Logic/LocationProvider.hpp"
#include "AmbrelKit/Internal/Logic/NearbyDevicesProvider.hpp"
#include "tests/Internal/CoreFixture.hpp"

namespace AmbrelKit {
namespace {

/// What every platform object of these tests has: a delegate.
template <class Interface, class Delegate> struct Reporting : Interface {
    std::shared_ptr<Delegate> delegate() const override { return delegate_.lock(); }
    void setDelegate(std::weak_ptr<Delegate> delegate) override { delegate_ = std::move(delegate); }

private:
    std::weak_ptr<Delegate> delegate_;
};

struct FakeRadio final : Reporting<BluetoothCentralManager, BluetoothCentralManagerDelegate> {
    BluetoothManagerState state() const override { return current; }
    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& services,
                                        const std::optional<JSONDictionary>& options) override {
        EXPECT_FALSE(services || options);
        ++scans;
    }
    void stopScan() override {}

    BluetoothManagerState current = BluetoothManagerState::unknown;
    int scans = 0;
};

struct FakeLocationManager final : Reporting<LocationManager, LocationManagerDelegate> {
    void requestWhenInUseAuthorization() override { calls += 'r'; }
    void startUpdatingLocation() override { calls += 's'; }
    void stopUpdatingLocation() override {}

    std::string calls;
};

// What no trace of a replay shows (tests/Simulated/Replay/scripts).

class Providers : public CoreTest {};

TEST_F(Providers, WhoeverReportsItIsTheProvidersOwnManagerThatIsCalled) {
    const auto radio = std::make_shared<FakeRadio>();
    const auto bluetooth = std::make_shared<BluetoothDevicesProvider>([&] { return radio; });
    bluetooth->start();
    FakeRadio other;
    other.current = BluetoothManagerState::poweredOn; // which counts
    radio->delegate()->centralManagerDidUpdateState(other);
    EXPECT_EQ(radio->scans, 1);
    EXPECT_EQ(other.scans, 0);

    const auto manager = std::make_shared<FakeLocationManager>();
    const auto location = std::make_shared<LocationProvider>([&] { return manager; });
    location->start();
    FakeLocationManager another;
    for (const auto status : {LocationAuthorizationStatus::notDetermined,
                              LocationAuthorizationStatus::authorizedWhenInUse}) {
        manager->delegate()->locationManagerDidChangeAuthorizationStatus(another, status);
    }
    EXPECT_EQ(manager->calls, "rs");
    EXPECT_EQ(another.calls, "");
}

struct Devices final : NearbyDevicesProviderDelegate {
    void didFindNearbyDevice(const NearbyDevice& device) override { found.push_back(device); }

    std::vector<NearbyDevice> found;
};

struct FakeService final : Reporting<NetService, NetServiceDelegate> {
    void resolveWithTimeout(double seconds) override {
        EXPECT_EQ(seconds, 0.0);
        EXPECT_TRUE(delegate()) << "an answer could come before anybody listens";
        ++resolves;
    }
    std::string name() const override { return "Office"; }
    std::string type() const override { return "_ipp._tcp."; }
    std::optional<std::vector<std::string>> addresses() const override { return records; }
    std::optional<std::string> TXTRecordData() const override { return txt; }

    std::optional<std::vector<std::string>> records;
    std::optional<std::string> txt;
    int resolves = 0;
};

struct FakeBrowser final : Reporting<NetServiceBrowser, NetServiceBrowserDelegate> {
    void searchForServicesOfType(const std::string&, const std::string&) override {
        EXPECT_TRUE(delegate()) << "an answer could come before anybody listens";
    }
};

class Nearby : public CoreTest {
protected:
    std::shared_ptr<NearbyDevicesProvider> provider(std::optional<std::vector<std::string>> types) {
        auto made = std::make_shared<NearbyDevicesProvider>(std::move(types), [this] {
            return browsers.emplace_back(std::make_shared<FakeBrowser>());
        });
        made->setDelegate(devices);
        return made;
    }

    std::shared_ptr<Devices> devices = std::make_shared<Devices>();
    std::vector<std::shared_ptr<FakeBrowser>> browsers;
};

TEST_F(Nearby, ReportsEachResolutionUntilStopped) {
    const auto nearby = provider({{"_ipp._tcp."}});
    nearby->start();
    auto service = std::make_shared<FakeService>();
    browsers[0]->delegate()->netServiceBrowserDidFindService(*browsers[0], service, false);
    browsers[0]->delegate()->netServiceBrowserDidFindService(*browsers[0], service, true);
    EXPECT_EQ(service->resolves, 2);
    EXPECT_EQ(service.use_count(), 2) << "held once";
    for (now = 1; now <= 2; ++now) {
        service->delegate()->netServiceDidResolveAddress(*service);
    }
    EXPECT_EQ(devices->found, (std::vector<NearbyDevice>{{"Office", "_ipp._tcp.", {}, {}, at(1)},
                                                         {"Office", "_ipp._tcp.", {}, {}, at(2)}}));
    nearby->stop();
    EXPECT_FALSE(service->delegate());
    EXPECT_FALSE(browsers[0]->delegate());
    EXPECT_EQ(service.use_count(), 1);
    EXPECT_EQ(browsers[0].use_count(), 1);
}

TEST_F(Nearby, ReadsAddressesAndTextRecords) {
    const auto four = [](unsigned char last) {
        return std::string{'\x10', '\x02', 0, 80, '\xC0', 0, 2, static_cast<char>(last)} +
               std::string(8, '\0');
    };
    const std::string six = std::string("\x1C\x1E", 2) + std::string(26, '\x02');
    const auto pairs = [](const std::vector<std::string>& strings) {
        std::string record;
        for (const std::string& string : strings) {
            record += static_cast<char>(string.size()) + string;
        }
        return record;
    };
    struct Row {
        std::optional<std::vector<std::string>> records;
        std::optional<std::string> txt;
        std::optional<Text> address;
        std::optional<std::map<Text, Text>> dict;
    };
    using List = std::vector<std::string>;
    using Dict = std::map<Text, Text>;
    const Row rows[] = {
        {{}, {}, {}, {}},
        {List{}, "", {}, Dict{}},
        {List{six, four(1), four(2)}, {}, "192.0.2.1", {}},
        {List{"", four(3).substr(0, 15), six}, {}, {}, {}},
        {List{four(4) + "more"}, {}, "192.0.2.4", {}},
        {{},
         pairs({"ty=A", "bin=\xFF\xFE", "TY=B", "=x", "flag", "empty=", "a=b=c", "note=caf\u00E9",
                ""}),
         {},
         Dict{{"ty", "A"}, {"flag", ""}, {"empty", ""}, {"a", "b=c"}, {"note", "caf\u00E9"}}},
        {{},
         pairs({"ty=\xFF", "ty=again"}),
         {},
         Dict{}}, // the first of two keys counts, also when its value is no text
        {{}, pairs({"ok=1"}) + "\x09past=the", {}, Dict{{"ok", "1"}}},
    };
    for (const Row& row : rows) {
        devices->found.clear();
        FakeService service;
        service.records = row.records;
        service.txt = row.txt;
        provider(std::nullopt)->netServiceDidResolveAddress(service);
        ASSERT_EQ(devices->found.size(), 1U);
        EXPECT_EQ(devices->found[0].addressIPv4, row.address);
        EXPECT_EQ(devices->found[0].txtRecord, row.dict)
            << testing::PrintToString(row.txt.value_or(""));
    }
}

} // namespace
} // namespace AmbrelKit
