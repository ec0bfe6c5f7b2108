#include "tools/ambrel/Collecting/ObservedPlatform.hpp"
#include "tools/ambrel/Collecting/CommandLineHost.hpp"
#include "tools/ambrel/Collecting/DetailsFile.hpp"
#include "tools/ambrel/Collecting/Progress.hpp"
#include "tools/ambrel/Collecting/ScriptRecorder.hpp"

#include "AmbrelKit/Simulated/Platform.hpp"
#include "AmbrelKit/Simulated/Replay/Replay.hpp"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>

namespace Ambrel {
namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* type = "_ipp._tcp.";

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

/// Port 631 of 192.0.2.9 and of fe80::1, and what is neither IPv4 nor IPv6.
const std::vector<std::string> records{std::string("\x10\x02\x02\x77\xC0\x00\x02\x09", 8) +
                                           std::string(8, '\0'),
                                       std::string("\x1C\x0A\x02\x77\0\0\0\0\xFE\x80", 10) +
                                           std::string(13, '\0') + '\1' + std::string(4, '\0'),
                                       "\x10\x11"};

/// One collection in which each source reports; a service is found and resolved twice.
void play(Simulated::Platform& platform) {
    const UUID identifier = UUID::parse("00000000-0000-4000-8000-00000000000A").value();
    platform.bluetooth().reportState(BluetoothManagerState::poweredOn);
    platform.bluetooth().reportDiscovery({.identifier = identifier, .name = "Lamp"},
                                         {{"manufacturerData", {{"004c", "01ab"}}}}, -60);
    platform.bluetooth().reportDiscovery({.identifier = identifier, .name = std::nullopt});
    platform.location().reportAuthorization(LocationAuthorizationStatus::authorizedAlways);
    platform.location().reportFailure("no sky");
    platform.location().reportUpdate(
        {LocationFix{}, LocationFix{.coordinate = {.latitude = 1.5, .longitude = -0.1},
                                    .timestamp = Linux::ProcessServices::current().currentDate(),
                                    .horizontalAccuracy = 4.5,
                                    .altitude = -3,
                                    .verticalAccuracy = 12,
                                    .determinedBy = "gpsd"}});
    platform.network().setInterfaces({{.name = "en0", .address = "192.0.2.7"}});
    platform.network().setCaptiveNetwork({"en1"}, {{"en1", {{"SSID", "Caf\u00e9"}}}});
    for (int i = 0; i < 2; ++i) {
        platform.bonjour().reportFound(type, "Printer");
        platform.bonjour().reportResolved(type, "Printer",
                                          {.addresses = records,
                                           .txt = "\x03"
                                                  "a=b",
                                           .hostName = "printer\xFF\u202E.local",
                                           .interface = "wlan0"});
    }
    platform.clock().advanceBy(11s);
}

/// The dictionary of `play`, as text.
std::string collected(Simulated::Platform& platform, std::shared_ptr<PlatformObserver> observer) {
    auto services = servicesOf(platform);
    std::shared_ptr<void> network;
    if (observer) {
        services = observed(std::move(services), observer);
        network = observeNetwork(std::move(observer));
    }
    const auto host = std::make_shared<CommandLineHost>(CollectionOptions());
    const auto kit = Linux::create(std::move(services));
    kit->setDelegate(host);
    kit->startScanningOnce();
    play(platform);
    return host->hasDelivered() ? JSONValue(host->takeDelivered().data).dump() : "nothing";
}

/// By each source.
std::vector<std::size_t> seen(const CollectionCounts& counts) {
    std::vector<std::size_t> seen;
    std::ranges::transform(allSources, std::back_inserter(seen),
                           [&](Source source) { return counts.seen(source); });
    return seen;
}

TEST(ObservedPlatform, IsSilentOnceTheCollectionIsOver) {
    Simulated::Platform platform;
    const auto counts = std::make_shared<CollectionCounts>();
    const auto host = std::make_shared<CommandLineHost>(CollectionOptions());
    const auto kit = Linux::create(observed(servicesOf(platform), counts));
    kit->setDelegate(host);
    kit->startScanningOnce();
    platform.bonjour().reportFound(type, "Printer");
    kit->stopScanning();
    play(platform);
    EXPECT_THAT(seen(*counts), Each(0));
}

std::string contents(const std::string& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Runs the statement where files can't grow beyond so many bytes.
template <class Statement> void withFilesUpTo(rlim_t bytes, const Statement& statement) {
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit narrow{.rlim_cur = bytes, .rlim_max = limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &narrow);
    statement();
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, before);
}

TEST(ResultFile, AFullDiskCutsNoLineShortAndFillsNoMemory) {
    const std::string name = testing::TempDir() + "ambrel-result-" + std::to_string(getpid());
    std::ofstream(name) << "one\n";
    ResultFile file(name, ResultFile::Earlier::continued);
    file.write("two");
    withFilesUpTo(6, [&] { EXPECT_THROW(file.finish(), std::system_error); });
    file.write("three");
    file.finish();
    EXPECT_EQ(contents(name), "one\nthree\n");
    std::filesystem::remove(name);
}

/// All that each line may hold; tests/schema checks the same lines against their schema.
TEST(DetailsFile, HasALineForEveryReportAndChangesNothing) {
    const std::string name = testing::TempDir() + "ambrel-details-" + std::to_string(getpid());
    const auto details = std::make_shared<DetailsFile>(name, ResultFile::Earlier::continued);
    Simulated::Platform platform;
    const auto data = collected(platform, details);
    details->finish();
    EXPECT_EQ(contents(name), contents(AMBREL_TESTS "/details.jsonl"));
    std::filesystem::remove(name);
    Simulated::Platform unobserved;
    EXPECT_EQ(data, collected(unobserved, nullptr));
}

TEST(CollectionCounts, CountAPeripheralAndAServiceOnce) {
    const auto counts = std::make_shared<CollectionCounts>();
    Simulated::Platform platform;
    collected(platform, counts);
    EXPECT_THAT(seen(*counts), ElementsAre(1, 1, 2, 1, 1, 0));
}

TEST(ScriptRecorder, ItsScriptDeliversTheSame) {
    Simulated::Platform platform;
    const auto host = std::make_shared<CommandLineHost>(CollectionOptions());
    // A search for subtypes, or for all types, finds services of a type that nobody lists.
    const auto recorder = std::make_shared<ScriptRecorder>(
        std::vector<std::string>{"_printer._sub._ipp._tcp.", "all"}, host);
    recorder->hostCalls({.operation = Simulated::HostCall::Operation::startScanningOnce});
    const auto delivered = collected(platform, recorder);
    std::istringstream script(recorder->end());
    EXPECT_THAT(delivered,
                AllOf(HasSubstr("Printer"), HasSubstr("192.0.2.7"), HasSubstr("{\"a\":\"b\"}"),
                      HasSubstr("Caf\u00e9"), HasSubstr("\"lat\":1.5")));
    std::string replayed;
    Simulated::replay(script, {.quiet = true}, [&](auto line) { replayed += line; });
    EXPECT_EQ(replayed, delivered + "\n");
}

} // namespace
} // namespace Ambrel
