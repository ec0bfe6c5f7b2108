#include "AmbrelKit/Linux/NearbyDevices/AvahiPollAdapter.hpp"
#include "AmbrelKit/Linux/NearbyDevices/NetServiceBrowserFactory.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "tests/Linux/NearbyDevices/Collector.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/LoopDriver.hpp"

#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-core/core.h>
#include <avahi-core/log.h>
#include <avahi-core/publish.h>
#include <cstdlib>
#include <gmock/gmock.h>
#include <net/if.h>
#include <sys/resource.h>

namespace {

using namespace AmbrelKit;
using namespace AmbrelKit::Linux;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

/// Publishes services on the loopback with a stack of its own.
class Neighbour {
public:
    explicit Neighbour(const LoopDriver& driver)
        : loop_(driver.loop()), ground_{*loop_}, poll_(avahiPollOn(ground_)) {
        avahi_set_log_function([](AvahiLogLevel, const char*) {});
        AvahiServerConfig config{};
        avahi_server_config_init(&config);
        config.publish_hinfo = config.publish_workstation = config.publish_addresses = 0;
        const auto ignore = [](AvahiServer*, AvahiServerState, void*) {};
        server_ = avahi_server_new(&poll_, &config, ignore, nullptr, nullptr);
        avahi_server_config_free(&config);
        beginGroup();
        AvahiAddress address{};
        avahi_address_parse("10.9.8.7", AVAHI_PROTO_INET, &address);
        avahi_server_add_address(server_, group_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                 AVAHI_PUBLISH_NO_REVERSE, "near.local", &address);
    }
    ~Neighbour() { avahi_server_free(server_); }
    Neighbour(const Neighbour&) = delete;
    Neighbour& operator=(const Neighbour&) = delete;

    void add(const char* name, int interface = AVAHI_IF_UNSPEC) {
        auto* txt = avahi_string_list_new("first=1", nullptr);
        txt = avahi_string_list_add_arbitrary(
            txt, reinterpret_cast<const std::uint8_t*>("raw=\xff\0"), 6);
        avahi_server_add_service_strlst(server_, group_, interface, AVAHI_PROTO_UNSPEC, {}, name,
                                        "_ipp._tcp", nullptr, "near.local", 631, txt);
        avahi_string_list_free(txt);
    }

    /// Says that the service is there, but not where.
    void announce(const std::string& name, int interface) {
        const std::string instance = name + "._ipp._tcp.local";
        auto* record = avahi_record_new_full("_ipp._tcp.local", AVAHI_DNS_CLASS_IN,
                                             AVAHI_DNS_TYPE_PTR, AVAHI_DEFAULT_TTL);
        record->data.ptr.name = avahi_strdup(instance.c_str());
        avahi_server_add(server_, group_, interface, AVAHI_PROTO_UNSPEC, {}, record);
        avahi_record_unref(record);
    }

    void publish() {
        avahi_s_entry_group_commit(group_);
        beginGroup();
    }

    bool established = false;

private:
    void beginGroup() {
        const auto changed = [](AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state,
                                void* self) {
            static_cast<Neighbour*>(self)->established = state == AVAHI_ENTRY_GROUP_ESTABLISHED;
        };
        group_ = avahi_s_entry_group_new(server_, changed, this);
    }

    std::shared_ptr<EventLoop> loop_;
    AvahiGround ground_;
    AvahiPoll poll_;
    AvahiServer* server_ = nullptr;
    AvahiSEntryGroup* group_ = nullptr;
};

class EmbeddedAvahiTest : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string reason = isolate(); !reason.empty()) {
            GTEST_SKIP() << reason;
        }
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
        neighbour = std::make_unique<Neighbour>(driver);
        neighbour->add("A");
        neighbour->add("B.\\ü");
        neighbour->publish();
        ASSERT_TRUE(driver.until([&] { return neighbour->established; }));
        descriptors = openDescriptors();
    }

    void search() { browser = collector->search(makeBrowser, "_ipp._tcp"); }

    void dropAll() {
        browser.reset();
        collector->services.clear();
    }

    LoopDriver driver;
    std::unique_ptr<Neighbour> neighbour;
    std::size_t descriptors = 0;
    NetServiceBrowserFactory makeBrowser = makeNetServiceBrowserFactory(driver.loop());
    std::shared_ptr<Collector> collector = std::make_shared<Collector>();
    std::shared_ptr<NetServiceBrowser> browser;
};

TEST_F(EmbeddedAvahiTest, FindsAndResolvesWithoutDaemonOrBus) {
    search();
    EXPECT_TRUE(collector->found.empty());
    ASSERT_TRUE(driver.until([&] { return collector->resolved.size() == 2; }));
    EXPECT_THAT(collector->found, UnorderedElementsAre("A", "B.\\ü"));
    EXPECT_THAT(collector->resolved, UnorderedElementsAre("A 10.9.8.7", "B.\\ü 10.9.8.7"));
    EXPECT_EQ((*collector->services.begin())->TXTRecordData(), "\7first=1\6raw=\xff\0"s);
    EXPECT_EQ((*collector->services.begin())->type(), "_ipp._tcp.");

    // A service outlives the browser that found it.
    browser.reset();
    (*collector->services.begin())->resolveWithTimeout(0);
    EXPECT_TRUE(driver.until([&] { return collector->resolved.size() == 3; }));
    dropAll();
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(EmbeddedAvahiTest, WhatADelegateThrowsLeavesTheLoopAndTheRestFollows) {
    collector->whenFound = collector->whenResolved = [] { throw std::runtime_error("no"); };
    search();
    for (int i = 0; i < 4; ++i) {
        EXPECT_THROW(driver.until([] { return false; }), std::runtime_error);
    }
    EXPECT_EQ(collector->found.size(), 2);
    EXPECT_EQ(collector->resolved.size(), 2);
}

TEST_F(EmbeddedAvahiTest, EverythingMayBeDroppedInsideACallback) {
    collector->whenFound = [&] { dropAll(); };
    search();
    ASSERT_TRUE(driver.until([&] { return !collector->found.empty(); }));
    EXPECT_EQ(openDescriptors(), descriptors);
    collector->whenFound = nullptr;
    collector->whenResolved = [&] { dropAll(); };
    search();
    ASSERT_TRUE(driver.until([&] { return !collector->resolved.empty(); }));
    EXPECT_EQ(openDescriptors(), descriptors);
    driver.loop()->dispatch();
    EXPECT_EQ(collector->resolved.size(), 1);
}

TEST_F(EmbeddedAvahiTest, BrowsersShareOneStackAndLeaveNothingBehind) {
    std::size_t withOne = 0;
    for (int i = 0; i < 20; ++i) {
        search();
        const auto other = collector->search(makeBrowser, "_http._tcp");
        driver.during(std::chrono::milliseconds(10));
        withOne = i == 0 ? openDescriptors() : withOne;
        EXPECT_EQ(openDescriptors(), withOne);
        dropAll();
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(EmbeddedAvahiTest, WithFewDescriptorsItIsSilentAndTheNextSearchFinds) {
    rlimit plenty{};
    getrlimit(RLIMIT_NOFILE, &plenty);
    const auto source = sourceReports();
    std::set<std::string> reasons;
    for (rlim_t left = 0; left < 8; ++left) {
        const rlimit few{descriptors + left, plenty.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        EXPECT_NO_THROW(search());
        EXPECT_NO_THROW(driver.during(std::chrono::milliseconds(100)));
        reasons.insert(source->report(Source::services).condition.code);
        dropAll();
        setrlimit(RLIMIT_NOFILE, &plenty);
    }
    EXPECT_THAT(reasons, ElementsAre("no-descriptors", "no-interface")) << "but the loopback";
    collector->resolved.clear();
    search();
    EXPECT_TRUE(driver.until([&] { return collector->resolved.size() == 2; }));
}

/// A neighbour on two links that are not joined.
class EmbeddedAvahiOnTwoLinksTest : public EmbeddedAvahiTest {
protected:
    void SetUp() override {
        if (const std::string refusal = isolate(); !refusal.empty()) {
            GTEST_SKIP() << refusal;
        }
        for (const std::string link : {"1", "2"}) {
            const std::string name = "near" + link;
            const std::string command = "ip link add " + name +
                                        " type veth && ip address add 10.9." + link + ".1/24 dev " +
                                        name + " && ip link set " + name + " up";
            ASSERT_EQ(std::system(command.c_str()), 0);
        }
        neighbour = std::make_unique<Neighbour>(driver);
    }

    /// Runs until the service has been resolved with its TXT record.
    [[nodiscard]] bool findsTXT() {
        return driver.until([&] {
            return !collector->resolved.empty() &&
                   (*collector->services.begin())->TXTRecordData() == "\7first=1\6raw=\xff\0"s;
        });
    }

    static int link(int number) {
        return static_cast<int>(if_nametoindex(("near" + std::to_string(number)).c_str()));
    }
};

TEST_F(EmbeddedAvahiOnTwoLinksTest, AServiceThatAnswersOnlyOnTheSecondKeepsItsTXTRecord) {
    neighbour->announce("A", link(1));
    neighbour->publish();
    search();
    ASSERT_TRUE(driver.until([&] { return !collector->found.empty(); }));
    neighbour->add("A", link(2));
    neighbour->publish();
    EXPECT_TRUE(findsTXT());
    EXPECT_THAT(collector->resolved, ElementsAre("A 10.9.8.7"));
}

TEST_F(EmbeddedAvahiOnTwoLinksTest, AServiceWhoseFirstAnswerIsLostKeepsItsTXTRecord) {
    neighbour->announce("A", link(1));
    neighbour->publish();
    search();
    driver.during(std::chrono::milliseconds(5500)); // it is asked for without TXT record by now
    EXPECT_THAT(collector->found, ElementsAre("A"));
    neighbour->add("A", link(1));
    neighbour->publish();
    EXPECT_TRUE(findsTXT());
    EXPECT_THAT(collector->resolved, ElementsAre("A 10.9.8.7", "A 10.9.8.7"));
}

} // namespace
