#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"

#include <gtest/gtest.h>

namespace {

using namespace AmbrelKit::Linux;

const BusMethod getId{"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                      "GetId"};

class SystemBusTest : public testing::Test {
protected:
    /// Everything that the bus has sent so far has arrived when this returns.
    void drain() {
        bool replied = false;
        const auto call = bus->call(getId, {}, [&](sd_bus_message*) { replied = true; });
        ASSERT_TRUE(driver.until([&] { return replied; }));
    }

    /// Owns a name for as long as it lives.
    struct Owner {
        explicit Owner(const LoopDriver& driver) {
            sd_bus_open_system(&bus);
            sd_bus_attach_event(bus, driver.loop()->native(), 0);
            sd_bus_request_name_async(bus, nullptr, "org.ambrelkit.Test", 0, nullptr, nullptr);
            driver.loop()->touch();
        }
        ~Owner() {
            sd_bus_detach_event(bus);
            sd_bus_close_unref(bus);
        }
        Owner(const Owner&) = delete;
        Owner& operator=(const Owner&) = delete;
        sd_bus* bus = nullptr;
    };

    PrivateBus daemon;
    LoopDriver driver;
    std::shared_ptr<SystemBus> bus = driver.loop()->shared<SystemBus>();
    std::vector<std::string> owners;
    std::function<void(const std::string&)> note = [this](const std::string& owner) {
        owners.emplace_back(owner.empty() ? "none" : "somebody");
    };
};

TEST_F(SystemBusTest, IsOneForTheLoopAndGoesWithItsLastHolder) {
    EXPECT_EQ(bus, driver.loop()->shared<SystemBus>());
    const std::size_t before = openDescriptors();
    bus.reset();
    EXPECT_LT(openDescriptors(), before);
    bus = driver.loop()->shared<SystemBus>();
    drain();
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(SystemBusTest, ADroppedCallIsNotAnswered) {
    bool answered = false;
    auto call = bus->call(getId, {}, [&](sd_bus_message*) { answered = true; });
    call.reset();
    drain();
    EXPECT_FALSE(answered);

    std::unique_ptr<PendingCall> itself;
    itself = bus->call(getId, {}, [&](sd_bus_message*) {
        itself.reset();
        answered = true;
    });
    drain();
    EXPECT_TRUE(answered);
    EXPECT_EQ(bus->call(getId, [](sd_bus_message*) { return -EINVAL; }, {}), nullptr);
}

TEST_F(SystemBusTest, WhatACallbackThrowsLeavesTheLoopAndTheBusGoesOn) {
    const auto call = bus->call(getId, {}, [](sd_bus_message*) { throw std::runtime_error("no"); });
    EXPECT_THROW(driver.until([] { return false; }), std::runtime_error);
    drain();
}

TEST_F(SystemBusTest, ANameWatchFollowsTheOwner) {
    const auto watch = NameWatch::start(bus, "org.ambrelkit.Test", note);
    EXPECT_TRUE(owners.empty());
    ASSERT_TRUE(driver.until([&] { return owners.size() == 1; }));
    {
        const Owner owner(driver);
        ASSERT_TRUE(driver.until([&] { return owners.size() == 2; }));
    }
    ASSERT_TRUE(driver.until([&] { return owners.size() == 3; }));
    EXPECT_EQ(owners, (std::vector<std::string>{"none", "somebody", "none"}));
}

TEST_F(SystemBusTest, NobodyButTheBusTellsWhoOwnsAName) {
    const auto watch = NameWatch::start(bus, "org.ambrelkit.Test", note);
    ASSERT_TRUE(driver.until([&] { return owners.size() == 1; }));
    const Owner stranger(driver); // whom the watch is told of, and whose word it is not to take
    ASSERT_TRUE(driver.until([&] { return owners.size() == 2; }));
    for (int peer = 0; peer < 10; ++peer) { // this connection is one of them
        sd_bus_message* signal = nullptr;
        sd_bus_message_new_signal(stranger.bus, &signal, "/org/freedesktop/DBus",
                                  "org.freedesktop.DBus", "NameOwnerChanged");
        sd_bus_message_append(signal, "sss", "org.ambrelkit.Test", ":1.1", ":1.999");
        EXPECT_GE(
            sd_bus_send_to(stranger.bus, signal, (":1." + std::to_string(peer)).c_str(), nullptr),
            0);
        sd_bus_message_unref(signal);
    }
    sd_bus_flush(stranger.bus);
    drain();
    EXPECT_EQ(owners.size(), 2U);
}

TEST_F(SystemBusTest, AWatchMayBeDroppedInItsOwnCallback) {
    std::shared_ptr<NameWatch> watch;
    watch = NameWatch::start(bus, "org.ambrelkit.Test", [&](const std::string& owner) {
        watch.reset();
        note(owner);
    });
    ASSERT_TRUE(driver.until([&] { return owners.size() == 1; }));
    const Owner owner(driver);
    drain();
    EXPECT_EQ(owners.size(), 1);
}

TEST_F(SystemBusTest, ALostBusFailsItsCallsAndIsFoundAgain) {
    const auto watch = NameWatch::start(bus, "org.ambrelkit.Test", note);
    auto owner = std::make_unique<Owner>(driver);
    ASSERT_TRUE(driver.until([&] { return !owners.empty() && owners.back() == "somebody"; }));

    bool failed = false;
    owners.clear();
    daemon.stop();
    owner.reset();
    const auto call = bus->call(getId, {}, [&](sd_bus_message* reply) {
        failed = sd_bus_message_is_method_error(reply, nullptr) > 0;
    });
    ASSERT_TRUE(driver.until([&] { return !owners.empty(); }));
    EXPECT_TRUE(failed || !call);
    EXPECT_EQ(bus->call(getId, {}, {}), nullptr);

    daemon.start();
    owner = std::make_unique<Owner>(driver);
    ASSERT_TRUE(driver.until([&] { return owners.back() == "somebody"; }));
    EXPECT_EQ(owners, (std::vector<std::string>{"none", "somebody"}));
}

TEST_F(SystemBusTest, WithoutABusThereIsNoOwner) {
    daemon.stop();
    bus.reset();
    bus = driver.loop()->shared<SystemBus>();
    const auto watch = NameWatch::start(bus, "org.ambrelkit.Test", note);
    EXPECT_TRUE(owners.empty());
    ASSERT_TRUE(driver.until([&] { return !owners.empty(); }));
    EXPECT_EQ(owners, (std::vector<std::string>{"none"}));
    EXPECT_FALSE(bus->send(getId, {}));
}

} // namespace
