#include "tools/ambrel/Host.hpp"
#include "tools/ambrel/ObservedPlatform.hpp"
#include "tools/ambrel/Progress.hpp"

#include "AmbrelKit/Simulated/Platform.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Ambrel {
namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* type = "_ipp._tcp.";

class Log final : public PlatformObserver {
public:
    std::vector<std::string> lines;

    void bluetoothDidUpdateState(BluetoothManagerState state) override {
        lines.push_back("state " + std::to_string(static_cast<int>(state)));
    }
    void bluetoothDidDiscover(const Peripheral& peripheral) override {
        lines.push_back("peripheral " + peripheral.name.value_or("-"));
    }
    void bonjourDidFind(const NetService& service) override {
        lines.push_back("found " + service.name());
    }
    void bonjourDidResolve(const NetService& service) override {
        lines.push_back("resolved " + service.name());
    }
    void locationDidChangeAuthorization(LocationAuthorizationStatus status) override {
        lines.push_back("authorization " + std::to_string(static_cast<int>(status)));
    }
    void locationDidUpdate(const std::vector<LocationFix>& fixes) override {
        lines.push_back("fixes " + std::to_string(fixes.size()));
    }
    void locationDidFail(const std::string& error) override { lines.push_back("failed " + error); }
};

Linux::PlatformServices servicesOf(Simulated::Platform& platform) {
    return {.bonjourServices = std::vector<std::string>{type},
            .bluetoothManagerFactory = [&] { return platform.bluetooth().makeManager(); },
            .locationManagerFactory = [&] { return platform.location().makeManager(); },
            .netServiceBrowserFactory = [&] { return platform.bonjour().makeBrowser(); },
            .timerFactory =
                [&](double interval, bool repeats, TimerTick tick) {
                    return platform.clock().scheduledTimer(interval, repeats, std::move(tick));
                },
            .notificationCenter = NotificationCenter::default_(),
            .application = Application::shared()};
}

/// One collection in which each source reports; a service is found and resolved twice.
void play(Simulated::Platform& platform) {
    const UUID identifier = UUID::parse("00000000-0000-4000-8000-00000000000A").value();
    platform.bluetooth().reportState(BluetoothManagerState::poweredOn);
    platform.bluetooth().reportDiscovery({.identifier = identifier, .name = "Lamp"});
    platform.bluetooth().reportDiscovery({.identifier = identifier, .name = std::nullopt});
    platform.location().reportAuthorization(LocationAuthorizationStatus::authorizedAlways);
    platform.location().reportFailure("no sky");
    platform.location().reportUpdate({LocationFix{}, LocationFix{}});
    for (int i = 0; i < 2; ++i) {
        platform.bonjour().reportFound(type, "Printer");
        platform.bonjour().reportResolved(type, "Printer", {});
    }
    platform.clock().advanceBy(11s);
}

std::optional<JSONDictionary> collected(std::shared_ptr<PlatformObserver> observer) {
    Simulated::Platform platform;
    auto services = servicesOf(platform);
    if (observer) {
        services = observed(std::move(services), std::move(observer));
    }
    const auto host = std::make_shared<Host>(CollectionOptions());
    const auto kit = Linux::create(std::move(services));
    kit->setDelegate(host);
    kit->startScanningOnce();
    play(platform);
    return host->delivered();
}

TEST(ObservedPlatform, TellsEveryReportAndChangesNothing) {
    const auto log = std::make_shared<Log>();
    const auto data = collected(log);
    ASSERT_TRUE(data);
    EXPECT_EQ(JSONValue(*data), JSONValue(collected(nullptr).value()));
    EXPECT_THAT(log->lines,
                ElementsAre("state 5", "peripheral Lamp", "peripheral -", "authorization 3",
                            "failed no sky", "fixes 2", "found Printer", "resolved Printer",
                            "found Printer", "resolved Printer"));
}

TEST(ObservedPlatform, IsSilentOnceTheCollectionIsOver) {
    Simulated::Platform platform;
    const auto log = std::make_shared<Log>();
    const auto host = std::make_shared<Host>(CollectionOptions());
    const auto kit = Linux::create(observed(servicesOf(platform), log));
    kit->setDelegate(host);
    kit->startScanningOnce();
    platform.bonjour().reportFound(type, "Printer");
    kit->stopScanning();
    log->lines.clear();
    play(platform);
    EXPECT_THAT(log->lines, IsEmpty());
}

TEST(CollectionCounts, CountAPeripheralAndAServiceOnce) {
    const auto counts = std::make_shared<CollectionCounts>();
    ASSERT_TRUE(collected(counts));
    EXPECT_EQ(counts->peripherals(), 1U);
    EXPECT_EQ(counts->services(), 1U);
    EXPECT_EQ(counts->fixes(), 2U);
}

} // namespace
} // namespace Ambrel
