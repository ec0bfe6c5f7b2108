#include "AmbrelKit/Linux/NearbyDevices/AvahiPollAdapter.hpp"
#include "AmbrelKit/Linux/NearbyDevices/NearbyDevices.hpp"
#include "Collector.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/LoopDriver.hpp"

#include <avahi-common/error.h>
#include <avahi-core/core.h>
#include <avahi-core/log.h>
#include <avahi-core/publish.h>
#include <cstdlib>
#include <gmock/gmock.h>

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
        : loop_(driver.loop()), poll_(avahiPollOn(*loop_)) {
        avahi_set_log_function([](AvahiLogLevel, const char*) {});
        AvahiServerConfig config{};
        avahi_server_config_init(&config);
        config.publish_hinfo = config.publish_workstation = config.publish_addresses = 0;
        const auto ignore = [](AvahiServer*, AvahiServerState, void*) {};
        server_ = avahi_server_new(&poll_, &config, ignore, nullptr, nullptr);
        avahi_server_config_free(&config);
        const auto changed = [](AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state,
                                void* self) {
            static_cast<Neighbour*>(self)->established = state == AVAHI_ENTRY_GROUP_ESTABLISHED;
        };
        group_ = avahi_s_entry_group_new(server_, changed, this);
        AvahiAddress address{};
        avahi_address_parse("10.9.8.7", AVAHI_PROTO_INET, &address);
        avahi_server_add_address(server_, group_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                 AVAHI_PUBLISH_NO_REVERSE, "near.local", &address);
    }
    ~Neighbour() { avahi_server_free(server_); }
    Neighbour(const Neighbour&) = delete;
    Neighbour& operator=(const Neighbour&) = delete;

    void add(const char* name) {
        auto* txt = avahi_string_list_new("first=1", nullptr);
        txt = avahi_string_list_add_arbitrary(
            txt, reinterpret_cast<const std::uint8_t*>("raw=\xff\0"), 6);
        avahi_server_add_service_strlst(server_, group_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, {},
                                        name, "_ipp._tcp", nullptr, "near.local", 631, txt);
        avahi_string_list_free(txt);
    }

    void publish() { avahi_s_entry_group_commit(group_); }

    bool established = false;

private:
    std::shared_ptr<EventLoop> loop_;
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

} // namespace
