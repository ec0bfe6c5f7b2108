// Automatic collections every quarter of an hour for weeks, among peripherals that change their
// addresses. AMBREL_TEST_WEEKS=52 makes a year of it.

#include "AmbrelKit/Simulated/Host.hpp"
#include "tests/support/Allocations.hpp"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;

const std::string serviceType = "_ipp._tcp.";
constexpr int peripherals = 50;
constexpr int services = 10;
constexpr int collectionsAWeek = 7 * 24 * 4;

int weeks() {
    const char* text = std::getenv("AMBREL_TEST_WEEKS");
    return text != nullptr ? std::atoi(text) : 2;
}

auto openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

class Year {
public:
    explicit Year(std::optional<std::size_t> limit) {
        using enum Simulated::StatusQuery;
        for (const auto query : {bluetoothPermission, networkPermission}) {
            host_.setStatus(query, AmbrelPermissionStatus::granted);
        }
        host_.setDeliveryHandler([this](const JSONDictionary& dictionary) {
            whole_ += dictionary.at("bleScan").size() == peripherals &&
                              dictionary.at("nearbyDevices").size() == services
                          ? 1
                          : 0;
            host_.sdk()->completeScanning();
        });
        host_.sdk()->setHistoryLimit(limit);
        host_.sdk()->automaticModeForNotificationAndBackgroundTask();
    }

    /// Of automatic collections; all of them see everything.
    void take(int collections) {
        whole_ = 0;
        for (int i = 0; i < collections; ++i) {
            collect();
        }
        ASSERT_EQ(whole_, collections);
    }
    void week() { take(collectionsAWeek); }

private:
    void collect() {
        platform_.notificationCenter().post(ApplicationDidBecomeActiveNotification);
        for (int i = 0; i < peripherals; ++i) {
            const std::string name = "Peripheral number " + std::to_string(i);
            platform_.bluetooth().reportDiscovery({.identifier = UUID::random(), .name = name});
        }
        for (int i = 0; i < services; ++i) {
            const std::string name = "Service number " + std::to_string(i);
            platform_.bonjour().reportFound(serviceType, name);
            platform_.bonjour().reportResolved(serviceType, name,
                                               {.addresses = {},
                                                .txt = "\x09"
                                                       "txtvers=1\x0e"
                                                       "note=2nd floor"});
        }
        platform_.clock().advanceBy(15min);
    }

    Simulated::Platform platform_{{.start = 1'700'000'000s, .identifiers = {}}};
    Simulated::Host host_{platform_, {{serviceType}}};
    int whole_ = 0;
};

TEST(AYear, WithAHistoryLimitIsFlat) {
    Year year(100);
    year.week();
    const std::size_t first = Allocations::held();
    const auto descriptors = openDescriptors();
    for (int week = 1; week < weeks(); ++week) {
        year.week();
        ASSERT_LE(Allocations::held(), first + first / 20) << "in week " << week;
        ASSERT_EQ(openDescriptors(), descriptors);
    }
}

/// What is kept of such a collection where its texts repeat: docs/performance.md.
TEST(AYear, WithoutALimitGrowsByWhatIsKeptOfACollection) {
    constexpr std::size_t documented = 3'777;
    const std::size_t before = Allocations::held();
    Year year(std::nullopt);
    for (int week = 1; week <= weeks(); ++week) {
        year.week();
        const auto each = (Allocations::held() - before) / collectionsAWeek / week;
        ASSERT_LE(each, documented) << "in week " << week;
    }
}

/// A few records, which may be large, are not let go of by the dozen.
TEST(AYear, ALimitHoldsWhileFewAreKept) {
    Year year(2);
    year.take(4);
    const std::size_t before = Allocations::held();
    year.take(100);
    constexpr std::size_t ofFour = 16'000;
    EXPECT_LE(Allocations::held(), before + ofFour);
}

} // namespace
