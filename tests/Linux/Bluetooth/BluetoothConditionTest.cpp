#include "tests/Linux/Bluetooth/BluetoothFixture.hpp"

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "tests/support/Isolation.hpp"

#include <filesystem>
#include <fstream>
#include <sys/mount.h>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;

/// What Bluetooth does in one collection.
class BluetoothConditionTest : public BluetoothTest {
protected:
    void beginCollection() {
        collection = Linux::platformServices().timerFactory(1, true, [](Timer&) {});
    }
    [[nodiscard]] SourceAccount account() const {
        return source->report(Source::bluetooth).collection;
    }
    bool becomes(const std::string& expected) {
        return until([&] { return condition() == expected; });
    }

    std::shared_ptr<Timer> collection;
};

TEST_F(BluetoothConditionTest, TellsFromTheLoopHowItFares) {
    EXPECT_EQ(condition(), "idle");
    begin();
    EXPECT_THAT(receiver->states, testing::IsEmpty()) << "told inside setDelegate";
    EXPECT_EQ(changes, 0) << "told inside setDelegate";
    const struct {
        const char* what;
        std::function<void()> happens;
        int state;
        const char* condition;
    } steps[] = {
        {"no daemon", [] {}, 2, "unavailable: no-daemon"},
        {"there, and on", [&] { fake.start(), fake.plug("hci0"); }, 5, "listening: BlueZ, hci0"},
        {"switched off, or blocked", [&] { fake.power("hci0", false); }, 4, "off"},
        {"switched on", [&] { fake.power("hci0", true); }, 5, "listening: BlueZ, hci0"},
        {"another takes over", [&] { fake.plug("hci1"), fake.power("hci0", false); }, 5,
         "listening: BlueZ, hci1"},
        {"all off", [&] { fake.power("hci1", false); }, 4, "off"},
        {"pulled out", [&] { fake.unplug("hci0"), fake.unplug("hci1"); }, 2, "unavailable: "},
        {"plugged in, and off", [&] { fake.plug("hci0", false); }, 4, "off"},
        {"daemon lost", [&] { fake.stop(); }, 1, "unavailable: no-daemon"},
        {"daemon back without adapter", [&] { fake.start(); }, 2, "unavailable: "},
        {"lost again", [&] { fake.stop(); }, 1, "unavailable: no-daemon"},
        {"back, and the scan is long in starting",
         [&] { fake.hold("StartDiscovery"), fake.start(), fake.plug("hci2"); }, 5,
         "starting: daemon-silent"},
        {"it answers", [&] { fake.release(); }, 5, "listening: BlueZ, hci2"},
        {"stopped", [&] { manager->stopScan(); }, 5, "idle"},
    };
    std::vector<int> expected;
    for (const auto& step : steps) {
        step.happens();
        drain();
        if (expected.empty() || expected.back() != step.state) {
            expected.push_back(step.state);
        }
        EXPECT_EQ(receiver->states, expected) << step.what;
        EXPECT_TRUE(until([&] { return condition().starts_with(step.condition); }))
            << step.what << ": " << condition();
    }
    EXPECT_GT(changes, 0);
    receiver->states.clear();
    manager->setDelegate(receiver);
    EXPECT_THAT(receiver->states, testing::IsEmpty());
    drain();
    EXPECT_THAT(receiver->states, testing::ElementsAre(5)) << "a newly set delegate is told";
}

TEST_F(BluetoothConditionTest, SaysThatItMayNotAndDoesNotInsist) {
    for (const auto& [method, error] :
         {std::pair("GetManagedObjects", SD_BUS_ERROR_ACCESS_DENIED),
          std::pair("StartDiscovery", "org.bluez.Error.NotAuthorized")}) {
        fake.failNext(method, error);
        fake.start();
        fake.plug("hci0");
        begin();
        EXPECT_TRUE(until([&] {
            return !receiver->states.empty() && receiver->states.back() == 3;
        })) << method;
        EXPECT_FALSE(scanning("hci0", 150)) << "the first retry would have come by now";
        EXPECT_EQ(condition(), "refused: not-allowed") << method;
        fake.stop();
    }
}

TEST_F(BluetoothConditionTest, ADaemonThatDiesAndComesBackIsToldWithTheTimes) {
    beginScan();
    beginCollection();
    fake.add("hci0", {.address = phone, .rssi = -50});
    EXPECT_EQ(reports().size(), 1U);
    during(100ms);
    fake.stop();
    ASSERT_TRUE(becomes("unavailable: no-daemon"));
    during(100ms);
    fake.start(), fake.plug("hci0");
    ASSERT_TRUE(becomes("listening: BlueZ, hci0"));
    fake.failNext("StartDiscovery", "org.bluez.Error.Failed");
    fake.power("hci0", false), drain(), fake.power("hci0", true);
    ASSERT_TRUE(becomes("unavailable: discovery-fails"));
    EXPECT_EQ(source->report(Source::bluetooth).condition.reason,
              "BlueZ cannot scan with hci0: as the test wants it");
    ASSERT_TRUE(becomes("listening: BlueZ, hci0"));
    collection->invalidate();
    fake.add("hci0", {.address = phone, .rssi = -50});
    EXPECT_EQ(reports().size(), 1U) << "which no collection counts";
    manager.reset();
    fake.stop();
    drain();

    EXPECT_EQ(condition(), "idle");
    EXPECT_EQ(account().outcome, SourceOutcome::interrupted);
    EXPECT_EQ(account().reports, 1U);
    const auto absences = account().absences;
    ASSERT_EQ(absences.size(), 2U);
    EXPECT_EQ(absences[0].who, "BlueZ");
    EXPECT_GE(absences[0].from, 90ms);
    EXPECT_GE(absences[0].until, absences[0].from + 90ms);
    EXPECT_LT(absences[0].until, 5s);
    EXPECT_EQ(absences[0].why.code, "no-daemon");
    EXPECT_EQ(absences[1].why.code, "discovery-fails");
}

TEST_F(BluetoothConditionTest, ABusThatIsMissingSilentOrClosed) {
    setenv("SYSTEMD_BUS_TIMEOUT", "0.2s", 1);
    const auto kept = loop()->shared<Linux::SystemBus>(); // as by another source of the kit
    unsetenv("SYSTEMD_BUS_TIMEOUT");
    begin();
    ASSERT_TRUE(becomes("unavailable: no-daemon"));
    manager.reset();
    EXPECT_EQ(condition(), "idle");
    bus.freeze();
    begin();
    beginCollection();
    during(500ms);
    EXPECT_EQ(condition(), "starting: bus-silent") << "it has not said that there is no daemon";
    bus.stop();
    begin();
    ASSERT_TRUE(becomes("unavailable: no-bus"));
    bus.start();
    fake.start(), fake.plug("hci0");
    ASSERT_TRUE(becomes("listening: BlueZ, hci0")) << "it is tried again";
    bus.stop();
    ASSERT_TRUE(becomes("unavailable: no-bus"));
    collection->invalidate();
    EXPECT_EQ(account().outcome, SourceOutcome::failed);
    EXPECT_EQ(account().failure.code, "no-bus");
}

TEST_F(BluetoothConditionTest, WhatBlocksTheAdapterIsTold) {
    if (const auto refusal = isolate(); !refusal.empty()) {
        GTEST_SKIP() << refusal;
    }
    ASSERT_EQ(mount("tmpfs", "/sys/class", "tmpfs", 0, nullptr), 0);
    const struct {
        const char* type;
        const char* name;
        bool soft;
        bool hard;
        const char* condition;
    } rows[] = {
        {"bluetooth", "hci0", false, false, "off: switched-off"},
        {"bluetooth", "hci0", true, false, "off: blocked"},
        {"bluetooth", "hci0", true, true, "off: blocked-by-hardware"},
        {"bluetooth", "the device's own switch", true, false, "off: blocked"},
        {"bluetooth", "hci1", true, true, "off: switched-off"},
        {"wlan", "phy0", true, true, "off: switched-off"},
    };
    const std::filesystem::path folder = "/sys/class/rfkill/rfkill0";
    std::filesystem::create_directories(folder);
    fake.start(), fake.plug("hci0");
    begin();
    for (const auto& row : rows) {
        std::ofstream(folder / "type") << row.type << '\n';
        std::ofstream(folder / "name") << row.name << '\n';
        std::ofstream(folder / "soft") << row.soft << '\n';
        std::ofstream(folder / "hard") << row.hard << '\n';
        fake.power("hci0", false);
        EXPECT_TRUE(becomes(row.condition)) << row.name << ": " << condition();
        fake.power("hci0", true);
        EXPECT_TRUE(becomes("listening: BlueZ, hci0")) << row.name;
    }
    std::filesystem::create_directories("/sys/class/bluetooth/hci0");
    fake.unplug("hci0");
    EXPECT_TRUE(becomes("unavailable: adapter-unused")) << condition();
}

} // namespace
