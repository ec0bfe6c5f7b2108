#include "AmbrelKit/Linux/NearbyDevices/AnnouncedServiceTypes.hpp"
#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"
#include "tests/Linux/NearbyDevices/AvahiFixture.hpp"

namespace {

using namespace AmbrelKit;
using namespace AmbrelKit::Linux;
using namespace std::string_literals;
using std::chrono::milliseconds;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST_F(AvahiDaemonTest, ReportsAServiceOnceHoweverManyInterfacesHaveIt) {
    daemon->items = {{"Printer", 2, 0}, {"Printer", 2, 1}, {"Printer", 3, 0}, {"Büro", 2, 0}};
    search();
    EXPECT_THAT(collector->found, IsEmpty());
    ASSERT_TRUE(resolvedCount(2));
    drain();
    EXPECT_THAT(collector->found, ElementsAre("Printer", "Büro"));
    EXPECT_THAT(collector->resolved, UnorderedElementsAre("Printer 10.0.0.1", "Büro 10.0.0.1"));
    const NetService& service = **collector->services.begin();
    EXPECT_EQ(service.type(), "_ipp._tcp.");
    EXPECT_EQ(service.TXTRecordData(), "\7first=1\11second=2\xff"s);
    EXPECT_EQ(service.addresses()->front().substr(0, 4), "\x10\x02\x02\x77"s); // port 631
    EXPECT_FALSE(embeddedRuns());
}

TEST_F(AvahiDaemonTest, ReportsAgainWhatWentAndCameAgain) {
    daemon->items = {{"Printer", 2, 0}, {"Printer", 2, 1}};
    search();
    ASSERT_TRUE(resolvedCount(1));
    drain();
    daemon->report("ItemRemove", {"Printer", 2, 0});
    daemon->report("ItemNew", {"Printer", 2, 0});
    drain();
    EXPECT_THAT(collector->found, ElementsAre("Printer"));
    daemon->report("ItemRemove", {"Printer", 2, 0});
    daemon->report("ItemRemove", {"Printer", 2, 1});
    daemon->report("ItemNew", {"Printer", 2, 0});
    drain();
    EXPECT_THAT(collector->found, ElementsAre("Printer", "Printer"));
    EXPECT_EQ(collector->services.size(), 1) << "the same object";
}

TEST_F(AvahiDaemonTest, RefusedTypesAreSilent) {
    for (const char* type : {"", "_ipp", "_sub._ipp._tcp", "ipp._tcp"}) {
        search(type);
    }
    drain();
    EXPECT_THAT(daemon->calls, Each("Nothing"));
}

TEST_F(AvahiDaemonTest, AllStandsForEachTypeThatAppearsAndIsNotListed) {
    const std::vector<FakeAvahi::Item> announced{{"_ipp", 2, 0, "_tcp"},
                                                 {"_hap", 2, 0, "_tcp"},
                                                 {"_hap", 2, 1, "_tcp"},
                                                 {"_HAP", 3, 0, "_tcp"},
                                                 {"_matter", 2, 0, "_udp"},
                                                 {"_a._sub._hap", 2, 0, "_tcp"},
                                                 {"_a", 2, 0, "_sub._hap._tcp"},
                                                 {"_b d", 2, 0, "_tcp"},
                                                 {"", 2, 0, "_tcp"},
                                                 {"_x._tcp", 2, 0, "_tcp"},
                                                 {"_x", 2, 0, "_sctp"},
                                                 {"_services", 2, 0, "_dns-sd._udp"}};
    daemon->types = announced;
    daemon->items = {{"Printer"}};
    const auto others = makeNetServiceBrowserFactory(driver.loop()); // another kit's
    const auto other = others();
    other->searchForServicesOfType("_hap._tcp", "");
    const auto listed = collector->search(makeBrowser, "_IPP._tcp.");
    search(allServiceTypes);
    ASSERT_TRUE(resolvedCount(3));
    drain();
    std::vector<std::string> browsed;
    for (const auto& [path, type] : daemon->objects) {
        browsed.push_back(type);
    }
    EXPECT_THAT(browsed, UnorderedElementsAre("_hap._tcp", "_IPP._tcp", "_services._dns-sd._udp",
                                              "_hap._tcp", "_matter._udp"));
    browser.reset();
    drain();
    EXPECT_EQ(daemon->objects.size(), 2);
}

TEST_F(AvahiDaemonTest, TypesThatAppearAreBounded) {
    for (std::size_t i = 0; i < 2 * AnnouncedServiceTypes::most; ++i) {
        daemon->types.push_back({"_t" + std::to_string(i), 2, 0, "_tcp"});
    }
    std::size_t appeared = 0;
    const auto types = AnnouncedServiceTypes::start([&](const auto& /*type*/) { ++appeared; });
    search(allServiceTypes);
    constexpr std::size_t most = AnnouncedServiceTypes::most + 2; // the questions for all, too
    ASSERT_TRUE(driver.until([&] { return daemon->objects.size() == most; }));
    drain();
    EXPECT_EQ(daemon->objects.size(), most);
    EXPECT_EQ(appeared, AnnouncedServiceTypes::most);
}

TEST_F(AvahiDaemonTest, ASubtypeFindsServicesOfTheTypeThatItNarrows) {
    daemon->items = {{"Printer"}};
    search("_colour._sub._ipp._tcp.");
    ASSERT_TRUE(resolvedCount(1));
    EXPECT_EQ((*collector->services.begin())->type(), "_ipp._tcp.");
    EXPECT_EQ(daemon->objects.begin()->second, "_colour._sub._ipp._tcp");
}

TEST_F(AvahiDaemonTest, FreesItsObjectsAndDescriptors) {
    daemon->items = {{"Printer"}};
    const auto round = [&] {
        search();
        ASSERT_TRUE(driver.until([&] { return !collector->services.empty(); }));
        browser.reset();
        collector->services.clear();
        drain();
    };
    round();
    const std::size_t descriptors = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        round();
    }
    EXPECT_EQ(openDescriptors(), descriptors);

    // On a bus connection that others keep open, the daemon is told.
    const auto others = makeBrowser();
    others->searchForServicesOfType("_http._tcp", "");
    search();
    ASSERT_TRUE(driver.until([&] { return daemon->objects.size() >= 2; }));
    drain();
    const std::size_t before = daemon->objects.size();
    browser.reset();
    drain();
    EXPECT_EQ(daemon->objects.size(), before - 1);
}

TEST_F(AvahiDaemonTest, LateRepliesAreDroppedAndTheirObjectsFreed) {
    const auto others = makeBrowser(); // keeps the connection
    others->searchForServicesOfType("_http._tcp", "");
    ASSERT_TRUE(driver.until([&] { return daemon->objects.size() == 1; }));
    daemon->held = {"ServiceBrowserPrepare"};
    search();
    ASSERT_TRUE(driver.until([&] { return daemon->mostHeld == 1; }));
    browser.reset();
    daemon->answerHeld();
    drain();
    EXPECT_EQ(daemon->objects.size(), 1);

    daemon->items = {{"Printer"}};
    daemon->held = {"ResolveService"};
    search();
    ASSERT_TRUE(driver.until([&] { return collector->found.size() == 1; }));
    drain();
    collector->services.clear();
    daemon->answerHeld();
    drain();
    EXPECT_THAT(collector->resolved, IsEmpty());
}

TEST_F(AvahiDaemonTest, MessagesOfWrongTypesCostOnlyThemselves) {
    daemon->garbage = true;
    search();
    ASSERT_TRUE(driver.until([&] { return daemon->objects.size() == 1; }));
    daemon->reportGarbage();
    daemon->report("ItemNew", {"Printer"});
    ASSERT_TRUE(resolvedCount(1)) << "asked again";
    EXPECT_THAT(collector->found, ElementsAre("Printer"));
}

TEST_F(AvahiDaemonTest, SignalsOfOthersAreIgnored) {
    search();
    ASSERT_TRUE(driver.until([&] { return daemon->objects.size() == 1; }));
    FakeAvahi impostor(driver.loop());
    impostor.objects = daemon->objects;
    impostor.report("ItemNew", {"Impostor"});
    drain();
    daemon->report("ItemNew", {"Printer"});
    ASSERT_TRUE(resolvedCount(1));
    EXPECT_THAT(collector->found, ElementsAre("Printer"));
}

TEST_F(AvahiDaemonTest, EverythingMayBeDroppedInsideACallback) {
    daemon->items = {{"A"}, {"B"}};
    const auto dropAll = [&] {
        browser.reset();
        collector->services.clear();
    };
    collector->whenFound = dropAll;
    search();
    ASSERT_TRUE(driver.until([&] { return !collector->found.empty(); }));
    collector->whenFound = nullptr;
    collector->whenResolved = dropAll;
    search();
    ASSERT_TRUE(resolvedCount(1));
    drain();
    EXPECT_EQ(collector->found.size(), 3);
    EXPECT_EQ(collector->resolved.size(), 1);
}

TEST_F(AvahiDaemonTest, AsksForAHundredServicesAtATime) {
    for (int i = 0; i < 250; ++i) {
        daemon->items.push_back({"Device " + std::to_string(i)});
    }
    daemon->held = {"ResolveService"};
    search();
    ASSERT_TRUE(driver.until([&] { return collector->found.size() == 250; }));
    drain();
    EXPECT_EQ(daemon->mostHeld, 100);
    daemon->answerHeld();
    ASSERT_TRUE(resolvedCount(250));
}

TEST_F(AvahiDaemonTest, AnIPv4AddressThatComesLateIsReportedToo) {
    daemon->ipv6 = "fd00::1";
    daemon->items = {{"Printer"}};
    daemon->held = {"ResolveHostName"};
    search();
    ASSERT_TRUE(driver.until([&] { return daemon->mostHeld == 1; }));
    daemon->held.clear(); // the question for the other family is answered
    ASSERT_TRUE(resolvedCount(1));
    daemon->answerHeld();
    ASSERT_TRUE(resolvedCount(2));
    EXPECT_THAT(collector->resolved, ElementsAre("Printer fd00::1", "Printer 10.0.0.1 fd00::1"));
}

TEST_F(AvahiDaemonTest, AServiceWithoutTXTRecordIsResolvedWithoutOne) {
    daemon->withoutTXT = true;
    daemon->items = {{"Printer"}};
    search();
    ASSERT_TRUE(resolvedCount(1));
    EXPECT_FALSE((*collector->services.begin())->TXTRecordData());
    drain();
    EXPECT_EQ(callsOf("ResolveService"), 3) << "with, without, and once more with";
    EXPECT_EQ(collector->resolved.size(), 1);
}

TEST_F(AvahiDaemonTest, TheAddressOnTheLoopbackIsReplacedByARealOne) {
    daemon->items = {{"Printer", loopbackInterface}};
    search();
    ASSERT_TRUE(resolvedCount(1));
    daemon->report("ItemNew", {"Printer", 3});
    ASSERT_TRUE(resolvedCount(2));
    drain();
    EXPECT_THAT(collector->resolved, ElementsAre("Printer 127.0.0.1", "Printer 10.0.0.3"));
}

TEST_F(AvahiDaemonTest, ResolvingEndsAtItsTimeout) {
    daemon->items = {{"Printer"}};
    daemon->held = {"ResolveService"};
    search();
    ASSERT_TRUE(driver.until([&] { return daemon->mostHeld == 1; }));
    (*collector->services.begin())->resolveWithTimeout(0.05);
    driver.during(milliseconds(100));
    daemon->answerHeld();
    drain();
    EXPECT_THAT(collector->resolved, IsEmpty());
}

TEST_F(AvahiDaemonTest, WhatItLeavesUnansweredDoesNotCountAgainstOtherDaemons) {
    daemon->held = {"ServiceBrowserPrepare"};
    const auto kept = driver.loop()->shared<SystemBus>(); // as by another source
    for (int calls = 25; calls <= 150; calls += 25) {     // 128 may wait on one connection
        std::vector<std::shared_ptr<NetServiceBrowser>> browsers(60);
        for (auto& one : browsers) {
            one = collector->search(makeBrowser, "_ipp._tcp.");
        }
        EXPECT_TRUE(driver.until([&] { return callsOf("ServiceBrowserPrepare") == calls; }));
        EXPECT_EQ(daemon->mostHeld, calls) << "at once";
    }
    std::optional<bool> refused;
    const auto call = kept->call(
        {"org.freedesktop.Avahi", "/", "x.y", "Nothing"}, {},
        [&](sd_bus_message* reply) { refused = isError(reply, SD_BUS_ERROR_LIMITS_EXCEEDED); });
    EXPECT_TRUE(driver.until([&] { return refused.has_value(); }));
    EXPECT_FALSE(refused.value_or(true));
}

} // namespace
