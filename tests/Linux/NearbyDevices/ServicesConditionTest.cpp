#include "tests/Linux/NearbyDevices/AvahiFixture.hpp"

#include "AmbrelKit/Linux/NearbyDevices/MulticastNetwork.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <netinet/in.h>
#include <sys/socket.h>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;

void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }

/// Holds the mDNS port, and lets nobody share it.
Descriptor holdPort() {
    Descriptor descriptor(socket(AF_INET6, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(5353);
    EXPECT_EQ(bind(descriptor.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return descriptor;
}

/// How the search for services fares in a network that others can be on.
class ServicesConditionTest : public AvahiDaemonTest {
protected:
    void SetUp() override {
        AvahiDaemonTest::SetUp();
        if (!IsSkipped()) {
            run("ip link add near type veth peer name far && ip address add 10.9.1.1/24 dev near "
                "&& "
                "ip link set far up && ip link set near up");
            const auto runs = [] { return Linux::networkDoesMulticast() == true; };
            ASSERT_TRUE(driver.until(runs)) << "what the kernel says some time after it is up";
        }
    }

    /// The state, the reason's code, and by what means it listens.
    [[nodiscard]] std::string condition() const {
        const auto now = source->report(Source::services).condition;
        std::string text(code(now.state));
        for (const auto& detail : {now.code, now.means}) {
            text += detail.empty() ? "" : ": " + detail;
        }
        return text;
    }
    [[nodiscard]] bool becomes(const std::string& expected) {
        return driver.until([&] { return condition() == expected; });
    }
    [[nodiscard]] SourceAccount account() const {
        return source->report(Source::services).collection;
    }
    void beginCollection() {
        collection = Linux::platformServices().timerFactory(1, true, [](Timer&) {});
    }

    std::shared_ptr<SourceReports> source = Linux::sourceReports();
    std::shared_ptr<Timer> collection;
};

TEST_F(ServicesConditionTest, OfADaemonsManner) {
    const std::string invalid = "org.freedesktop.Avahi.InvalidServiceTypeError";
    const std::string embedded = "listening: embedded mDNS";
    const std::string instead = "listening: daemon-silent: embedded mDNS";
    const std::string silent = "unavailable: daemon-silent";
    const std::string served = "listening: avahi-daemon";
    const struct {
        const char* what;
        std::string refusal;
        std::set<std::string> held;
        std::chrono::milliseconds patience;
        std::string expected;
        std::string withoutPort;
    } rows[] = {
        {"serves", "", {}, 0ms, served, ""},
        {"leaves the network's answers open", "", {"ResolveService"}, 3300ms, served, ""},
        {"refuses a type", invalid, {}, 0ms, served, ""},
        {"refuses all", SD_BUS_ERROR_ACCESS_DENIED, {}, 0ms, embedded, "refused: not-allowed"},
        {"never answers", "", {"ServiceBrowserPrepare"}, 0ms, instead, silent},
        {"answers no more", "", {"GetState"}, 0ms, instead, ""},
    };
    for (const auto& row : rows) {
        for (const bool hasPort : {true, false}) {
            const std::string& expected = hasPort ? row.expected : row.withoutPort;
            if (expected.empty()) {
                continue;
            }
            daemon.reset();
            startDaemon({{"Printer"}});
            daemon->refusal = row.refusal;
            daemon->held = row.held;
            const auto port = hasPort ? Descriptor() : holdPort();
            search();
            EXPECT_EQ(condition(), "starting") << row.what;
            driver.during(row.patience);
            EXPECT_TRUE(becomes(expected)) << row.what << ": " << condition();
            EXPECT_EQ(embeddedRuns(), hasPort && expected != served) << row.what;
            daemon->answerHeld();
            EXPECT_TRUE(row.held.empty() || hasPort || becomes(served)) << row.what;
            browser.reset();
            collector->services.clear();
            EXPECT_EQ(condition(), "idle");
        }
    }
}

/// As one does that goes on just before a beat.
TEST_F(ServicesConditionTest, ADaemonThatIsAnsweringIsNotAwayForWhatItHasYetToAnswer) {
    daemon->held = {"ServiceBrowserPrepare"};
    search();
    const auto first = std::exchange(browser, nullptr);
    ASSERT_TRUE(driver.until([&] { return daemon->mostHeld == 1; }));
    daemon->held.clear();
    beginCollection();
    search("_http._tcp.");
    ASSERT_TRUE(becomes("listening: avahi-daemon"));
    driver.during(1200ms);
    EXPECT_EQ(condition(), "listening: avahi-daemon");
    daemon->answerHeld();
    driver.during(1s);
    EXPECT_EQ(account().outcome, SourceOutcome::listened);
}

TEST_F(ServicesConditionTest, WithoutADaemon) {
    daemon.reset();
    drain();
    search();
    EXPECT_TRUE(becomes("listening: embedded mDNS"));
    EXPECT_TRUE(embeddedRuns());
    browser.reset();
    const auto port = holdPort();
    search();
    EXPECT_TRUE(becomes("unavailable: port-taken"));
    startDaemon();
    EXPECT_TRUE(becomes("listening: avahi-daemon"));
}

TEST_F(ServicesConditionTest, WhatTheHostChoseIsNeverReplacedByTheOther) {
    const auto searchBy = [&](Linux::MDNSStack mdns) {
        return collector->search(Linux::makeNetServiceBrowserFactory(driver.loop(), mdns),
                                 "_ipp._tcp.");
    };
    browser = searchBy(Linux::MDNSStack::embedded);
    EXPECT_EQ(condition(), "listening: embedded mDNS") << "without a turn of the loop";
    drain();
    EXPECT_THAT(daemon->calls, testing::Each("Nothing"));
    browser.reset();

    daemon->held = {"GetState", "ServiceBrowserPrepare"};
    browser = searchBy(Linux::MDNSStack::daemon);
    EXPECT_TRUE(becomes("unavailable: daemon-silent"));
    driver.during(1200ms);
    EXPECT_FALSE(embeddedRuns()) << "when it had been silent for two seconds";
    daemon.reset();
    EXPECT_TRUE(becomes("unavailable: no-daemon"));
    driver.during(1200ms);
    EXPECT_FALSE(embeddedRuns()) << "when it had not come back";
    startDaemon({{"Printer"}});
    EXPECT_TRUE(resolvedCount(1));
    browser.reset();
    collector->services.clear();
    daemon.reset();
    drain();

    browser = searchBy(Linux::MDNSStack::daemon);
    EXPECT_TRUE(becomes("unavailable: no-daemon"));
    auto other = searchBy(Linux::MDNSStack::embedded);
    EXPECT_EQ(condition(), "listening: embedded mDNS");
    other.reset();
    EXPECT_EQ(condition(), "unavailable: no-daemon");
}

TEST_F(ServicesConditionTest, ACacheThatMayHaveDroppedServicesIsNotTheLastWord) {
    run("mount -t tmpfs none /etc/avahi");
    const struct {
        std::size_t services;
        const char* configuration;
        Linux::MDNSStack mdns;
        std::size_t found; ///< by two kits
        std::string expected;
        bool isTold;
    } rows[] = {
        {682, "", Linux::MDNSStack::automatic, 1364, "listening: avahi-daemon", false},
        {683, "", Linux::MDNSStack::automatic, 683, "listening: cache-full: embedded mDNS", false},
        {683, "", Linux::MDNSStack::daemon, 1366, "listening: cache-full: avahi-daemon", true},
        {683, "[server]\ncache-entries-max=8192\n", Linux::MDNSStack::daemon, 1366,
         "listening: avahi-daemon", false},
    };
    for (const auto& row : rows) {
        std::ofstream("/etc/avahi/avahi-daemon.conf") << row.configuration;
        daemon->items.clear();
        for (std::size_t i = 0; i < row.services; ++i) {
            daemon->items.push_back({.name = std::to_string(i), .protocol = 0});
            daemon->items.push_back({.name = std::to_string(i), .protocol = 1});
        }
        collector->found.clear();
        beginCollection();
        const auto search = [&] {
            return collector->search(Linux::makeNetServiceBrowserFactory(driver.loop(), row.mdns),
                                     "_ipp._tcp.");
        };
        browser = search();
        const auto another = search();
        EXPECT_TRUE(driver.until([&] { return collector->found.size() == row.found; }));
        EXPECT_TRUE(becomes(row.expected)) << condition();
        EXPECT_EQ(shortfall(account()).find("cache-entries-max") != std::string::npos, row.isTold)
            << row.expected;
        collection.reset();
        browser.reset();
        collector->services.clear();
    }
}

TEST_F(ServicesConditionTest, TheEmbeddedStackDoesNotWaitForABusThatHangs) {
    bus.freeze();
    search();
    EXPECT_TRUE(becomes("listening: embedded mDNS"));
}

TEST_F(ServicesConditionTest, OfANetworkThatNobodyElseCanBeOn) {
    run("ip link set far down; until ip link show near | grep -q NO-CARRIER; do sleep 0.01; done");
    beginCollection();
    search();
    ASSERT_TRUE(becomes("unavailable: no-interface")) << condition();
    EXPECT_EQ(account().outcome, SourceOutcome::failed);
    run("ip link set far up");
    ASSERT_TRUE(becomes("listening: avahi-daemon")) << "without being asked";
    EXPECT_EQ(account().outcome, SourceOutcome::listened);
    run("ip address flush dev near; ip address flush dev far");
    ASSERT_TRUE(becomes("unavailable: no-interface"));
    EXPECT_EQ(account().absences.front().why.code, "no-interface");
}

TEST_F(ServicesConditionTest, ADaemonThatDiesAndComesBackIsToldWithTheTimes) {
    daemon->items = {{"Printer"}};
    beginCollection();
    search();
    ASSERT_TRUE(resolvedCount(1));
    driver.during(100ms);
    daemon.reset();
    ASSERT_TRUE(becomes("unavailable: no-daemon"));
    driver.during(100ms);
    startDaemon({{"Scanner"}});
    ASSERT_TRUE(resolvedCount(2));
    EXPECT_FALSE(embeddedRuns());
    browser.reset();
    collector->services.clear();

    EXPECT_EQ(account().outcome, SourceOutcome::interrupted);
    EXPECT_EQ(account().reports, 2U) << "answers";
    ASSERT_EQ(account().absences.size(), 1U);
    const auto absence = account().absences.front();
    EXPECT_EQ(absence.who, "avahi-daemon");
    EXPECT_GE(absence.from, 90ms);
    EXPECT_GE(absence.until, absence.from + 90ms);
    EXPECT_EQ(absence.why.code, "no-daemon");
}

TEST_F(ServicesConditionTest, TheEmbeddedStackTakesOverFromADaemonOrBusThatIsGone) {
    search();
    ASSERT_TRUE(driver.until([&] { return daemon->objects.size() == 1; }));
    bus.stop();
    ASSERT_TRUE(becomes("unavailable: no-bus")) << condition();
    daemon.reset();
    ASSERT_TRUE(driver.until(embeddedRuns, 3s));
    bus.start();
    startDaemon();
    driver.during(1500ms); // the bus is found again by then
    EXPECT_THAT(daemon->calls, testing::IsEmpty()) << "a search stays where it is";
    browser.reset();
    EXPECT_FALSE(embeddedRuns());
    search();
    EXPECT_TRUE(driver.until([&] { return daemon->objects.size() == 1; })) << "the next is new";
}

} // namespace
