#include "AmbrelKit/Internal/Logic/BackgroundTaskScheduler.hpp"
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

struct Reports final : BluetoothDevicesProviderDelegate,
                       LocationProviderDelegate,
                       NearbyDevicesProviderDelegate {
    void didDiscoverPeripheral(const BluetoothPeripheral& peripheral) override {
        peripherals.push_back(peripheral);
    }
    void locationProviderDidUpdateLocation(const Location& location) override {
        locations.push_back(location);
    }
    void didFindNearbyDevice(const NearbyDevice& device) override { devices.push_back(device); }

    std::vector<BluetoothPeripheral> peripherals;
    std::vector<Location> locations;
    std::vector<NearbyDevice> devices;
};

class Providers : public CoreTest {
protected:
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
};

struct FakeRadio final : Reporting<BluetoothCentralManager, BluetoothCentralManagerDelegate> {
    BluetoothManagerState state() const override { return current; }
    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& services,
                                        const std::optional<JSONDictionary>& options) override {
        EXPECT_FALSE(services || options);
        ++scans;
    }
    void stopScan() override { ++stops; }

    BluetoothManagerState current = BluetoothManagerState::unknown;
    int scans = 0;
    int stops = 0;
};

TEST_F(Providers, BluetoothScansOncePoweredOnAndReportsEverySighting) {
    std::vector<std::shared_ptr<FakeRadio>> made;
    const auto provider = std::make_shared<BluetoothDevicesProvider>(
        [&] { return made.emplace_back(std::make_shared<FakeRadio>()); });
    provider->setDelegate(reports);
    provider->start();
    ASSERT_EQ(made.size(), 1U);
    for (const int state : {0, 1, 2, 3, 4, 9}) {
        made[0]->current = static_cast<BluetoothManagerState>(state);
        made[0]->delegate()->centralManagerDidUpdateState(*made[0]);
    }
    EXPECT_EQ(made[0]->scans, 0);
    made[0]->current = BluetoothManagerState::poweredOn;
    made[0]->delegate()->centralManagerDidUpdateState(*made[0]);
    FakeRadio other; // its state counts, but what scans is the provider's own
    other.current = BluetoothManagerState::poweredOn;
    made[0]->current = BluetoothManagerState::poweredOff;
    made[0]->delegate()->centralManagerDidUpdateState(other);
    EXPECT_EQ(made[0]->scans, 2);
    EXPECT_EQ(other.scans, 0);
    for (now = 1; now <= 2; ++now) {
        made[0]->delegate()->centralManagerDidDiscoverPeripheral(*made[0], {uuid(1), std::nullopt},
                                                                 {}, 127);
    }
    EXPECT_EQ(reports->peripherals,
              (std::vector<BluetoothPeripheral>{{uuid(1), {}, at(1)}, {uuid(1), {}, at(2)}}));
    provider->stop();
    EXPECT_EQ(made[0]->stops, 1);
    EXPECT_FALSE(made[0]->delegate());
    const std::weak_ptr<FakeRadio> first = made[0];
    made.clear();
    provider->start();
    EXPECT_TRUE(first.expired()) << "a start lets go of the manager before";
    EXPECT_TRUE(made.at(0)->delegate());
}

TEST_F(Providers, StoppingWhatNeverStartedMakesAManagerAndStopsIt) {
    const auto radio = std::make_shared<FakeRadio>();
    std::make_shared<BluetoothDevicesProvider>([&] { return radio; })->stop();
    EXPECT_EQ(radio->stops, 1);
}

struct FakeLocationManager final : Reporting<LocationManager, LocationManagerDelegate> {
    void requestWhenInUseAuthorization() override { calls += 'r'; }
    void startUpdatingLocation() override { calls += 's'; }
    void stopUpdatingLocation() override { calls += 'x'; }

    std::string calls;
};

TEST_F(Providers, LocationAsksStartsAndReportsTheNewestFix) {
    const auto manager = std::make_shared<FakeLocationManager>();
    const auto provider = std::make_shared<LocationProvider>([&] { return manager; });
    provider->setDelegate(reports);
    provider->start();
    for (const auto& [status, calls] : std::vector<std::pair<int, std::string>>{
             {0, "r"}, {1, ""}, {2, ""}, {3, "s"}, {4, "s"}, {5, ""}, {-1, ""}}) {
        manager->calls.clear();
        FakeLocationManager other;
        manager->delegate()->locationManagerDidChangeAuthorizationStatus(
            other, static_cast<LocationAuthorizationStatus>(status));
        EXPECT_EQ(manager->calls, calls) << status;
        EXPECT_EQ(other.calls, "") << "the provider's own manager is the one to start";
    }
    manager->delegate()->locationManagerDidUpdateLocations(*manager, {});
    manager->delegate()->locationManagerDidFailWithError(*manager, "no fix");
    manager->delegate()->locationManagerDidUpdateLocations(
        *manager, {{{1, 1}, at(1)}, {{2, 2}, at(2)}, {{3, -3}, at(0.5)}});
    EXPECT_EQ(reports->locations, (std::vector<Location>{{3, -3, at(0.5)}}));
    const auto delegate = manager->delegate();
    reports.reset();
    delegate->locationManagerDidUpdateLocations(*manager, {{{1, 1}, at(1)}});
    manager->calls.clear();
    provider->stop();
    EXPECT_EQ(manager->calls, "x");
    EXPECT_FALSE(manager->delegate());
}

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
    void searchForServicesOfType(const std::string& type, const std::string& domain) override {
        EXPECT_TRUE(delegate()) << "an answer could come before anybody listens";
        search = type + "|" + domain;
    }

    std::string search;
};

class Nearby : public Providers {
protected:
    std::shared_ptr<NearbyDevicesProvider> provider(std::optional<std::vector<std::string>> types) {
        auto made = std::make_shared<NearbyDevicesProvider>(std::move(types), [this] {
            return browsers.emplace_back(std::make_shared<FakeBrowser>());
        });
        made->setDelegate(reports);
        return made;
    }

    std::vector<std::shared_ptr<FakeBrowser>> browsers;
};

TEST_F(Nearby, BrowsesEachTypeInOrderAsItIsListed) {
    provider(std::nullopt)->start();
    provider(std::vector<std::string>{})->start();
    EXPECT_TRUE(browsers.empty());
    const auto three = provider({{"_b._tcp.", "_a._tcp", "_b._tcp."}});
    three->start();
    three->start();
    std::string searches;
    for (const auto& browser : browsers) {
        searches += browser->search + " ";
    }
    EXPECT_EQ(searches, "_b._tcp.| _a._tcp| _b._tcp.| _b._tcp.| _a._tcp| _b._tcp.| ");
}

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
    EXPECT_EQ(reports->devices,
              (std::vector<NearbyDevice>{{"Office", "_ipp._tcp.", {}, {}, at(1)},
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
        reports->devices.clear();
        FakeService service;
        service.records = row.records;
        service.txt = row.txt;
        provider(std::nullopt)->netServiceDidResolveAddress(service);
        ASSERT_EQ(reports->devices.size(), 1U);
        EXPECT_EQ(reports->devices[0].addressIPv4, row.address);
        EXPECT_EQ(reports->devices[0].txtRecord, row.dict)
            << testing::PrintToString(row.txt.value_or(""));
    }
}

struct FakeApplication final : Application {
    BackgroundTaskIdentifier beginBackgroundTask(const std::string& name,
                                                 std::function<void()> expirationHandler) override {
        EXPECT_EQ(name, "org.ambrelkit.AmbrelKit.backgroundTask");
        expire = std::move(expirationHandler);
        calls += "b" + std::to_string(++last) + " ";
        return last;
    }
    void endBackgroundTask(BackgroundTaskIdentifier identifier) override {
        calls += "e" + std::to_string(identifier) + " ";
    }

    BackgroundTaskIdentifier last = 0;
    std::function<void()> expire;
    std::string calls;
};

TEST_F(Providers, ABackgroundTaskIsEndedOnceAndBeforeTheNext) {
    const auto application = std::make_shared<FakeApplication>();
    auto scheduler = std::make_shared<BackgroundTaskScheduler>(application);
    scheduler->endBackgroundTask();
    scheduler->beginBackgroundTask();
    scheduler->beginBackgroundTask();
    scheduler->endBackgroundTask();
    scheduler->endBackgroundTask();
    scheduler->beginBackgroundTask();
    application->expire();
    EXPECT_EQ(application->calls, "b1 e1 b2 e2 b3 e3 ");
    scheduler->beginBackgroundTask();
    scheduler.reset();
    application->expire();
    EXPECT_EQ(application->calls, "b1 e1 b2 e2 b3 e3 b4 ");
}

} // namespace
} // namespace AmbrelKit
