#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/Lifecycle/CollectionClock.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "AmbrelKit/Platform/Application.hpp"
#include "AmbrelKit/Platform/NotificationCenter.hpp"
#include "tests/support/Child.hpp"
#include "tests/support/LoopDriver.hpp"
#include "tests/support/PrivateBus.hpp"
#include "tests/support/QuietHost.hpp"
#include "tests/support/StandIn.hpp"

#include <gmock/gmock.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <utility>

namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* login1 = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* ownSession = "/org/freedesktop/login1/session/own";
constexpr const char* laterSession = "/org/freedesktop/login1/session/later";
constexpr const char* userInterface = "org.freedesktop.login1.User";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* mockInterface = "org.freedesktop.DBus.Mock";

struct Step {
    const char* what;
    std::function<void()> happens;
    int activations;
    const char* condition = nullptr; ///< checked where it is given
};

/// Beside a logind of dbusmock, on a private bus. The test asks it by a connection of its own, and
/// waits for the answers while the loop stands still.
class LifecycleTest : public testing::Test, protected LoopDriver {
protected:
    void startLogind() {
        // The system's Python, since Debian installs dbusmock for no other.
        logind.emplace(std::vector<std::string>{"/usr/bin/python3", "-m", "dbusmock", "--system",
                                                "--template", "logind"});
        ASSERT_TRUE(runUntil([this] { return ask(managerPath, managerInterface, "ListUsers"); }));
        for (const char* session : {"own", "later"}) {
            ASSERT_TRUE(ask(managerPath, mockInterface, "AddSession", "ssusb", session, "seat0", 0,
                            "somebody", 0));
        }
        ASSERT_TRUE(ask(managerPath, mockInterface, "AddObject", "ssa{sv}a(ssss)", userPath.c_str(),
                        userInterface, 1, "Display", "(so)", "", "/", 0));
    }

    void haveOwnSession() {
        ASSERT_TRUE(ask(managerPath, mockInterface, "AddMethod", "sssss", managerInterface,
                        "GetSessionByPID", "u", "o",
                        ("ret = '" + std::string(ownSession) + "'").c_str()));
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

    void activate(const char* session, bool active, const char* state = "online") {
        ASSERT_TRUE(ask(session, mockInterface, "UpdateProperties", "sa{sv}",
                        "org.freedesktop.login1.Session", 2, "State", "s", state, "Active", "b",
                        active ? 1 : 0));
    }

    /// Which session is the display of this user; "/" for none.
    void display(const char* session) {
        ASSERT_TRUE(ask(userPath.c_str(), "org.freedesktop.DBus.Properties", "Set", "ssv",
                        userInterface, "Display", "(so)", "", session));
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

    /// A kit that collects, of which nothing leaves the machine.
    static std::shared_ptr<AmbrelSDK> collect(const std::shared_ptr<QuietHost>& host) {
        auto services = Linux::platformServices();
        services.bonjourServices.emplace();
        const auto kit = Linux::create(std::move(services));
        kit->setDelegate(host);
        kit->startScanning();
        return kit;
    }

    BackgroundTaskIdentifier begin(std::function<void()> timeIsUp = [] { FAIL(); }) {
        return application->beginBackgroundTask("a task", std::move(timeIsUp));
    }

    /// Until what logind has sent, and what was asked of it for that, has been heard.
    void drain() {
        for (int turns = 5; turns > 0; --turns) { // of question and answer
            bool answered = false;
            loop()->shared<Linux::SystemBus>()->send(
                {login1, managerPath, "org.freedesktop.DBus.Peer", "Ping"}, {},
                [&answered](sd_bus_message*) { answered = true; });
            ASSERT_TRUE(until([&answered] { return answered; }));
        }
    }

    /// Until an observer hears of logind's signals, and has heard all that were made for this.
    void awaitFollowed() {
        const auto task = begin([] {});
        ASSERT_TRUE(inhibited(1));
        application->endBackgroundTask(task);
        ASSERT_TRUE(inhibited(0));
        drain();
    }

    /// Each step in a collection of its own, since the reports of one are counted.
    void follow(const std::vector<Step>& steps) {
        const auto collections = loop()->shared<Linux::LoopBoard>()->collectionTimers(
            [this](double interval, bool repeats, TimerTick tick) {
                return loop()->scheduledTimer(interval, repeats, std::move(tick));
            });
        for (const Step& step : steps) {
            activations = 0;
            const auto collection = collections(1, true, [](Timer&) {});
            step.happens();
            drain();
            EXPECT_EQ(activations, step.activations) << step.what;
            EXPECT_EQ(source->report(Source::lifecycle).collection.reports,
                      static_cast<std::size_t>(activations))
                << step.what;
            EXPECT_EQ(condition(), step.condition != nullptr ? step.condition : condition());
        }
    }

    /// How the lifecycle fares: the state, by what means, and the reason's code.
    [[nodiscard]] std::string condition() const {
        const auto now = source->report(Source::lifecycle).condition;
        return std::string(code(now.state)) + "|" + now.means + "|" + now.code;
    }

    bool becomes(const std::string& expected) {
        return until([&] { return condition() == expected; });
    }

    const std::string userPath = "/org/freedesktop/login1/user/_" + std::to_string(getuid());
    PrivateBus bus;
    std::shared_ptr<Linux::Deadline> clock = loop()->deadline([] {}); ///< has the loop its clock
    std::optional<Child> logind;
    std::shared_ptr<Application> application = Application::shared();
    std::shared_ptr<SourceReports> source = Linux::sourceReports();
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

TEST_F(LifecycleTest, ActivationsAreOfTheSessionThatShowsTheUser) {
    startLogind();
    const auto descriptors = openDescriptors();
    const auto observer = observe();
    awaitFollowed();
    follow({
        {"somebody else's session", [this] { activate(ownSession, true); }, 0,
         "listening|logind|no-session"},
        {"it becomes the user's", [this] { display(ownSession); }, 1,
         "listening|logind, session own|"},
        {"another is looked at", [this] { activate(ownSession, false); }, 0},
        {"back", [this] { activate(ownSession, true); }, 1},
        {"said again", [this] { activate(ownSession, true); }, 0},
        {"logged out",
         [this] {
             activate(ownSession, false);
             display("/");
         },
         0},
        {"logged in anew, the screen still shows the greeter", [this] { display(laterSession); },
         0},
        {"the screen shows it", [this] { activate(laterSession, true); }, 1},
        {"the earlier session", [this] { activate(ownSession, true); }, 0},
        {"on the way to sleep", [this] { announceSleep(true); }, 0},
        {"the console is switched",
         [this] {
             activate(laterSession, false);
             activate(laterSession, true);
             activate(laterSession, false);
         },
         0},
        {"resumed", [this] { announceSleep(false); }, 1, "listening|logind, session later|"},
        {"and the console is switched back", [this] { activate(laterSession, true); }, 0},
        {"resumed again", [this] { announceSleep(false); }, 1},
    });
    NotificationCenter::default_()->removeObserver(observer);
    EXPECT_EQ(condition(), "idle||");
    EXPECT_EQ(openDescriptors(), descriptors) << "logind is followed for nobody";
}

TEST_F(LifecycleTest, TheOwnSessionIsFollowedUntilItsUserHasLoggedOutOfIt) {
    startLogind();
    haveOwnSession();
    display(laterSession);
    const auto observer = observe();
    awaitFollowed();
    follow({
        {"the display is another", [this] { activate(laterSession, true); }, 0},
        {"its own", [this] { activate(ownSession, true); }, 1},
        {"logged out of it",
         [this] {
             activate(laterSession, false);
             activate(ownSession, false, "closing");
             display("/");
         },
         0},
        {"logged in anew",
         [this] {
             display(laterSession);
             activate(laterSession, true);
         },
         1},
    });
}

TEST_F(LifecycleTest, AReleasedKitDelaysSleepNoLonger) {
    startLogind();
    const auto host = std::make_shared<QuietHost>();
    for (int i = 0; i < 3; ++i) {
        const auto kit = collect(host);
        ASSERT_TRUE(inhibited(1));
    }
    EXPECT_TRUE(inhibited(0));
    EXPECT_EQ(host->deliveries, 0);
}

/// Has the time since boot be later than it is, and the wall clock set back by a day.
class Later {
public:
    Later() {
        clock.sinceBoot = [this] { return sinceBoot() + by; };
        clock.wallClock = [] { return std::chrono::system_clock::now() - 24h; };
    }
    Later(const Later&) = delete;
    Later& operator=(const Later&) = delete;
    ~Later() {
        clock.sinceBoot = sinceBoot;
        clock.wallClock = std::chrono::system_clock::now;
    }

    std::chrono::milliseconds by{0};
    Linux::CollectionClock& clock = Linux::CollectionClock::shared();

private:
    const decltype(Linux::CollectionClock::sinceBoot) sinceBoot = clock.sinceBoot;
};

TEST_F(LifecycleTest, WhatSleepInterruptedIsDeliveredOnceOnResumeAndThenCollectedAnew) {
    startLogind();
    const auto host = std::make_shared<QuietHost>();
    std::optional<std::string> address = "192.0.2.1";
    const auto kit = collect(host);
    auto network = Linux::ProcessServices::current();
    network.addressIPv4 = [&] { return address; };
    const auto replaced = network.install();
    Later later;
    ASSERT_TRUE(inhibited(1));
    during(1200ms); // a tick
    announceSleep(true);
    EXPECT_TRUE(inhibited(0));
    address.reset(); // as the network is taken down on the way to sleep
    later.by += 15s;
    during(1200ms); // no tick
    EXPECT_EQ(host->deliveries, 0);
    announceSleep(false);
    drain();
    EXPECT_EQ(host->deliveries, 1);
    EXPECT_EQ(host->last["ip"], "192.0.2.1");
    const auto first = std::exchange(host->last, {});

    // The second collection of it is interrupted, too, by a sleep until just before ...
    EXPECT_FALSE(later.clock.begun());
    kit->setAmbrelTimeThreshold(0);
    kit->startScanning();
    ASSERT_TRUE(inhibited(1));
    kit->setAmbrelTimeThreshold(30);
    announceSleep(true);
    later.by += 30500ms; // ... it is too old to be delivered again
    announceSleep(false);
    drain();
    EXPECT_EQ(host->deliveries, 2);
    EXPECT_FALSE(later.clock.begun());
    EXPECT_TRUE(until([&] { return later.clock.begun().has_value(); }));
    EXPECT_EQ(host->deliveries, 2) << "it was delivered again";
    kit->stopScanning();
}

TEST_F(LifecycleTest, SaysHowALogindFares) {
    const std::pair<Manner, const char*> rows[] = {
        {Manner::silent, "starting||daemon-silent"},
        {Manner::refusing, "listening|logind|not-allowed"},
        {Manner::answering, "listening|logind|no-session"},
    };
    for (const auto& [manner, expected] : rows) {
        EXPECT_EQ(condition(), "idle||");
        const StandIn standIn(loop()->native(), login1, manner);
        const auto task = begin();
        EXPECT_TRUE(becomes(expected)) << condition();
        application->endBackgroundTask(task);
    }
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
        EXPECT_EQ(condition(), withBus ? "unavailable||no-daemon" : "unavailable||no-bus");
        application->endBackgroundTask(task);
    }
}

TEST_F(LifecycleTest, AutomaticModeCollectsAgainAfterResume) {
    startLogind();
    const auto host = std::make_shared<QuietHost>();
    const auto kit = collect(host);
    kit->setAmbrelTimeThreshold(0);
    auto& now = Environment::shared().currentDate;
    const auto clock = now;
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
