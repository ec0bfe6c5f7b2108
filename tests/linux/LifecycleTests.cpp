#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Linux/Platform.hpp"
#include "AmbrelKit/Platform/Application.hpp"
#include "AmbrelKit/Platform/NotificationCenter.hpp"
#include "tests/support/Child.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/QuietHost.hpp"

#include <gmock/gmock.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <systemd/sd-bus.h>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* login1 = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* sessionPath = "/org/freedesktop/login1/session/auto";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* mockInterface = "org.freedesktop.DBus.Mock";

/// Beside a logind of dbusmock, on a private bus. The test asks it by a connection of its own, and
/// waits for the answers while the loop stands still.
class LifecycleTest : public testing::Test, protected LoopDriver {
protected:
    void startLogind() {
        // The system's Python, since Debian installs dbusmock for no other.
        logind.emplace(std::vector<std::string>{"/usr/bin/python3", "-m", "dbusmock", "--system",
                                                "--template", "logind"});
        ASSERT_TRUE(runUntil([this] { return ask(managerPath, managerInterface, "ListUsers"); }));
        ASSERT_TRUE(ask(managerPath, mockInterface, "AddSession", "ssusb", "auto", "seat0", 0,
                        "somebody", 1));
    }

    template <class... Arguments> bool ask(const char* path, const char* interface,
                                           const char* member, const char* types = "",
                                           Arguments... arguments) {
        return sd_bus_call_method(asker_.get(), login1, path, interface, member, nullptr, nullptr,
                                  types, arguments...) >= 0;
    }

    void announceSleep(bool sleeping) {
        ASSERT_TRUE(ask(managerPath, mockInterface, "EmitSignal", "sssav", managerInterface,
                        "PrepareForSleep", "b", 1, "b", sleeping ? 1 : 0));
    }

    void activateSession(bool active) {
        ASSERT_TRUE(ask(sessionPath, mockInterface, "UpdateProperties", "sa{sv}",
                        "org.freedesktop.login1.Session", 2, "LockedHint", "b", 0, "Active", "b",
                        active ? 1 : 0));
    }

    /// What is delayed, by whom, why and how, as logind lists it.
    std::vector<std::string> inhibitors() {
        sd_bus_message* reply = nullptr;
        sd_bus_call_method(asker_.get(), login1, managerPath, managerInterface, "ListInhibitors",
                           nullptr, &reply, "");
        std::vector<std::string> list;
        sd_bus_message_enter_container(reply, 'a', "(ssssuu)");
        const char* text[4];
        while (sd_bus_message_read(reply, "(ssssuu)", &text[0], &text[1], &text[2], &text[3],
                                   nullptr, nullptr) > 0) {
            list.push_back(std::string(text[0]) + "|" + text[1] + "|" + text[2] + "|" + text[3]);
        }
        sd_bus_message_unref(reply);
        return list;
    }

    bool inhibited(std::size_t count) {
        return runUntil([&] { return inhibitors().size() == count; });
    }

    /// Counts activations in `activations` for as long as it is held.
    [[nodiscard]] std::shared_ptr<NotificationObserver> observe() {
        return NotificationCenter::default_()->addObserver(
            std::string(ApplicationDidBecomeActiveNotification),
            [this](const Notification&) { ++activations; });
    }

    BackgroundTaskIdentifier begin(std::function<void()> timeIsUp = [] { FAIL(); }) {
        return application->beginBackgroundTask("a task", std::move(timeIsUp));
    }

    /// Until every signal that was sent before has been heard.
    void drain() {
        bool last = false;
        const auto task = begin([&last] { last = true; });
        announceSleep(true);
        ASSERT_TRUE(until([&last] { return last; }));
        application->endBackgroundTask(task);
    }

    /// Until an observer hears of logind's signals, and has heard all that were made for this.
    void awaitFollowed() {
        ASSERT_TRUE(runUntil([this] { return activateSession(true), activations > 0; }));
        drain();
        activations = 0;
    }

    PrivateBus bus;
    std::shared_ptr<Linux::Deadline> clock = loop()->deadline([] {}); ///< has the loop its clock
    std::optional<Child> logind;
    std::shared_ptr<Application> application = Application::shared();
    int activations = 0;

private:
    static sd_bus* open() {
        sd_bus* opened = nullptr;
        sd_bus_open_system(&opened);
        return opened;
    }

    std::unique_ptr<sd_bus, decltype(&sd_bus_close_unref)> asker_{open(), &sd_bus_close_unref};
};

TEST_F(LifecycleTest, SleepIsDelayedExactlyAsLongAsATaskIsOpen) {
    startLogind();
    const auto descriptors = openDescriptors();
    const auto first = begin();
    const auto second = begin();
    EXPECT_LT(first, second);
    ASSERT_TRUE(inhibited(2));
    EXPECT_EQ(inhibitors()[0], "sleep|" + std::string(program_invocation_short_name) +
                                   "|Work in the background: a task|delay");
    application->endBackgroundTask(first);
    application->endBackgroundTask(first);
    application->endBackgroundTask(second + 100);
    EXPECT_TRUE(inhibited(1));
    application->endBackgroundTask(second);
    EXPECT_TRUE(inhibited(0));
    EXPECT_EQ(openDescriptors(), descriptors) << "logind is followed for nobody";
}

TEST_F(LifecycleTest, TheAnnouncementOfSleepEndsTheTasks) {
    startLogind();
    const auto observer = observe();
    std::vector<std::string> expired;
    BackgroundTaskIdentifier second = 0;
    const auto first = begin([&] {
        expired.emplace_back("first");
        application->endBackgroundTask(second);
        throw std::runtime_error("a host's mistake");
    });
    second = begin();
    const auto third = begin([&] { expired.emplace_back("third"); });
    ASSERT_TRUE(inhibited(3));
    announceSleep(true);
    EXPECT_THROW(during(5s), std::runtime_error);
    EXPECT_TRUE(inhibited(0)) << "a task that its handler has not ended delays sleep";

    const auto fourth = begin([&] { expired.emplace_back("fourth"); });
    announceSleep(false);
    ASSERT_TRUE(until([this] { return activations == 1; }));
    const auto fifth = application->beginBackgroundTask("the last", [] {});
    ASSERT_TRUE(runUntil([this] {
        const auto list = inhibitors();
        return !list.empty() && list.back().find("the last") != std::string::npos;
    }));
    EXPECT_THAT(inhibitors(), SizeIs(2)) << "the time of the others is up";
    announceSleep(true);
    EXPECT_TRUE(inhibited(0));
    EXPECT_THAT(expired, ElementsAre("first", "third", "fourth"));
    for (const auto task : {first, third, fourth, fifth}) {
        application->endBackgroundTask(task);
    }
}

TEST_F(LifecycleTest, AnInhibitorThatComesTooLateIsGivenBack) {
    startLogind();
    const auto observer = observe(); // keeps the connection
    awaitFollowed();
    ASSERT_TRUE(inhibited(0)) << "the mock lets go of an earlier one once it is idle";
    logind->signal(SIGSTOP);
    const auto task = begin();
    during(50ms);
    application->endBackgroundTask(task);
    logind->signal(SIGCONT);
    EXPECT_THAT(inhibitors(), SizeIs(1)) << "it was asked for";
    EXPECT_TRUE(inhibited(0));
}

TEST_F(LifecycleTest, ALogindThatStartsAgainIsFollowedAgain) {
    int expired = 0;
    const auto task = begin([&] { ++expired; });
    during(50ms);
    for (int life = 0; life < 2; ++life) {
        startLogind();
        EXPECT_TRUE(inhibited(1));
        if (life == 0) {
            logind.reset();
        }
    }
    announceSleep(true);
    EXPECT_TRUE(runUntil([&] { return expired == 1; }));
    application->endBackgroundTask(task);
}

TEST_F(LifecycleTest, ResumeAndTheSessionsActivationAreTold) {
    startLogind();
    const auto descriptors = openDescriptors();
    const auto observer = observe();
    awaitFollowed();
    const std::pair<std::function<void()>, int> steps[] = {
        {[this] { announceSleep(true); }, 0},    {[this] { announceSleep(false); }, 1},
        {[this] { activateSession(false); }, 0}, {[this] { activateSession(true); }, 1},
        {[this] { announceSleep(false); }, 1},
    };
    int expected = 0;
    for (const auto& [happens, count] : steps) {
        expected += count;
        happens();
        ASSERT_TRUE(runUntil([&] { return activations >= expected; }));
    }
    drain();
    EXPECT_EQ(activations, expected);
    NotificationCenter::default_()->removeObserver(observer);
    EXPECT_EQ(openDescriptors(), descriptors) << "logind is followed for nobody";
}

TEST_F(LifecycleTest, WithoutLogindOrBusATaskIsANumberAndNothingWakes) {
    for (const bool withBus : {true, false}) {
        if (!withBus) {
            bus.stop();
        }
        const auto observer = observe();
        const auto task = begin();
        during(100ms);
        pollfd ready{loop()->fileDescriptor(), POLLIN, 0};
        EXPECT_EQ(poll(&ready, 1, 1500), 0) << (withBus ? "with" : "without") << " a bus";
        application->endBackgroundTask(task);
    }
}

TEST_F(LifecycleTest, AutomaticModeCollectsAgainAfterResume) {
    startLogind();
    const auto host = std::make_shared<QuietHost>();
    auto services = Linux::platformServices();
    services.bonjourServices.emplace();
    const auto kit = Linux::create(std::move(services));
    kit->setDelegate(host);
    kit->setAmbrelTimeThreshold(0);
    auto& now = Environment::shared().currentDate;
    const auto clock = now;
    kit->startScanning();
    EXPECT_TRUE(inhibited(1)) << "a collection runs";
    now = [clock] { return clock() + 11s; };
    ASSERT_TRUE(runUntil([&] { return host->deliveries == 1; }));
    kit->completeScanning();
    EXPECT_TRUE(inhibited(0)) << "it is over";

    announceSleep(true);
    announceSleep(false);
    EXPECT_TRUE(inhibited(1)) << "another runs";
    const auto observer = observe();
    kit->stopScanning();
    EXPECT_TRUE(inhibited(0));
    announceSleep(false);
    EXPECT_TRUE(until([this] { return activations == 1; }));
    EXPECT_THAT(inhibitors(), IsEmpty()) << "stopped, it does not collect after a resume";
    now = clock;
}

} // namespace
