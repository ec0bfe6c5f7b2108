// Against systemd, logind and the daemons as Debian starts them, asleep and awake: see run.

#include "tests/guest/Radio.hpp"
#include "tests/guest/System.hpp"

#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <regex>

namespace {

using nlohmann::json;
using testing::HasSubstr;

class SystemdTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        radio = std::make_unique<Radio>(advertisers);
        shell("systemctl start bluetooth");
        EXPECT_TRUE(eventually([] { return bluetoothIs("Powered"); }));
    }
    static void TearDownTestSuite() { radio.reset(); }
    void TearDown() override { EXPECT_EQ(shell("systemctl --failed --plain --no-legend"), ""); }

    static bool bluetoothIs(const std::string& property) {
        return succeeds("busctl get-property org.bluez /org/bluez/hci0 org.bluez.Adapter1 " +
                        property + " | grep -q true");
    }

    static inline std::unique_ptr<Radio> radio;
};

std::string watch(int threshold) { return "ambrel watch --threshold " + std::to_string(threshold); }

/// As `shell`, by the ordinary user.
std::string asUser(const std::string& command) {
    return shell(
        "setpriv --reuid=user --regid=user --init-groups env AMBREL_CONFIG= HOME=/home/user "
        "XDG_RUNTIME_DIR=/run/user/1000 sh -c '" +
        command + "'");
}

/// The session at a virtual terminal.
std::string sessionAt(int terminal) {
    return shell("loginctl list-sessions --no-legend | awk '$NF == \"tty" +
                 std::to_string(terminal) + "\" { print $1 }'");
}

void show(int terminal) {
    EXPECT_TRUE(eventually([&] { return !sessionAt(terminal).empty(); }));
    const auto session = sessionAt(terminal);
    shell("loginctl activate " + session);
    EXPECT_TRUE(eventually([&] {
        return succeeds("loginctl show-session -p State " + session + " | grep -q =active");
    }));
}

TEST_F(SystemdTest, ASleepBetweenCollectionsIsFollowedByOneDelivery) {
    const Unit renewing("renewing", Unit::service, watch(0));
    const Unit reusing("reusing", Unit::service, watch(30));
    EXPECT_TRUE(eventually([] { return sleepDelays() == 2; })) << "both collect";
    ASSERT_TRUE(renewing.delivers(1));
    ASSERT_TRUE(reusing.delivers(1));
    EXPECT_TRUE(eventually([] { return sleepDelays() == 0; })) << "nothing holds up what comes";

    sleepFor(4);
    EXPECT_TRUE(reusing.delivers(2));
    EXPECT_TRUE(renewing.delivers(2));
    EXPECT_TRUE(eventually([] { return sleepDelays() == 0; }));
    EXPECT_TRUE(reusing.delivers(2)) << "once";
    EXPECT_TRUE(renewing.delivers(2)) << "once";
    EXPECT_EQ(reusing.delivered()[1], reusing.delivered()[0]) << "young enough to be used again";
    EXPECT_NE(renewing.delivered()[1].at("timestamp"), renewing.delivered()[0].at("timestamp"));
    for (const auto& record : renewing.delivered()) {
        EXPECT_EQ(names(record), everybody());
    }
}

TEST_F(SystemdTest, ASleepInACollectionIsFollowedByItsDeliveryAndByAnother) {
    const Unit early("early", Unit::service, watch(0));
    ASSERT_TRUE(eventually([] { return sleepDelays() == 1 && bluetoothIs("Discovering"); }));
    shell("sleep 4");
    const Unit late("late", Unit::service, watch(0));
    ASSERT_TRUE(eventually([] { return sleepDelays() == 2; }));

    const double slept = std::stod(shell("date +%s"));
    sleepFor(9); // the early one is over by then
    for (const Unit* unit : {&early, &late}) {
        EXPECT_TRUE(unit->delivers(1));
    }
    const auto interrupted = early.delivered().at(0);
    EXPECT_EQ(names(interrupted), everybody());
    for (const auto& peripheral : interrupted.at("bleScan")) {
        EXPECT_LT(peripheral.at("timestamp").get<double>(), slept + 3);
    }
    for (const Unit* unit : {&early, &late}) {
        EXPECT_TRUE(unit->delivers(2));
    }
    EXPECT_TRUE(eventually([] { return sleepDelays() == 0; }));
    for (const Unit* unit : {&early, &late}) {
        EXPECT_TRUE(unit->delivers(2)) << "once each";
        const auto records = unit->delivered();
        EXPECT_NE(records.at(0).at("timestamp"), records.at(1).at("timestamp"));
        EXPECT_EQ(names(records.at(1)), everybody());
    }
}

TEST_F(SystemdTest, SessionsComeAndGo) {
    const Unit host("host", Unit::login("user", 3), watch(0));
    show(3);
    ASSERT_TRUE(host.delivers(1));
    {
        const Unit other("other", Unit::login("other", 4), "sleep infinity");
        show(4);
        show(3);
        EXPECT_TRUE(host.delivers(2)) << "shown again";
        show(4);
    }
    ASSERT_TRUE(eventually([] { return sessionAt(4).empty(); }));
    EXPECT_TRUE(host.delivers(2)) << "hidden, and another closed";
    show(3);
    EXPECT_TRUE(host.delivers(3));
}

TEST_F(SystemdTest, AUsersLingeringUnitFollowsTheirLogins) {
    const auto stored = [](const char* count) {
        return eventually(
            [&] { return asUser("ambrel store list --format json | wc -l") == count; });
    };
    shell("loginctl enable-linger user");
    ASSERT_TRUE(eventually([] { return succeeds("test -S /run/user/1000/systemd/private"); }));
    asUser("systemctl --user start ambrel-watch");
    EXPECT_TRUE(stored("1")) << "while nobody is logged in";
    EXPECT_THAT(asUser("ambrel doctor --only lifecycle"), HasSubstr("has no session"));
    {
        const Unit login("login", Unit::login("user", 3), "sleep infinity");
        show(3);
        EXPECT_TRUE(stored("2")) << "logged in";
        EXPECT_THAT(asUser("ambrel doctor --only lifecycle"), HasSubstr("logind, session"));
    }
    ASSERT_TRUE(eventually([] { return sessionAt(3).empty(); }));
    EXPECT_EQ(asUser("systemctl --user is-active ambrel-watch"), "active");
    EXPECT_THAT(asUser("ambrel doctor --only lifecycle"), HasSubstr("has no session"));
    asUser("systemctl --user stop ambrel-watch");
    EXPECT_EQ(asUser("systemctl --user --failed --plain --no-legend"), "");
    shell("loginctl disable-linger user");
}

/// Bluetooth and Avahi are not started again with a bus that takes them down.
constexpr const char* everythingStarted =
    "systemctl unmask -q --runtime systemd-logind; systemctl kill -q -s CONT systemd-logind; "
    "systemctl start dbus.socket dbus systemd-logind avahi-daemon.socket avahi-daemon bluetooth";

TEST_F(SystemdTest, ADaemonRestartedInACollectionIsFollowedAgain) {
    struct Row {
        const char* daemon;
        const char* source; ///< which tells of it
        bool costsNothing = true;
    };
    for (const auto& [daemon, source, costsNothing] :
         {Row{"systemd-logind", "lifecycle"}, Row{"bluetooth", "bluetooth"},
          Row{"avahi-daemon", "services"}, Row{"dbus", "lifecycle", false}}) {
        SCOPED_TRACE(daemon);
        ASSERT_TRUE(
            eventually([] { return bluetoothIs("Powered") && !bluetoothIs("Discovering"); }));
        const Unit host("host", Unit::login("user", 3),
                        watch(0) + " --outcome /run/user/1000/outcome");
        ASSERT_TRUE(eventually([] { return bluetoothIs("Discovering") && sleepDelays() == 1; }));
        shell(std::string("systemctl restart ") + daemon);
        ASSERT_TRUE(host.delivers(1));
        const auto heard = names(host.delivered()[0]);
        EXPECT_TRUE(heard.contains("Printer of the guest"));
        EXPECT_TRUE(heard == everybody() || !costsNothing) << host.delivered()[0];
        const auto outcome = json::parse(shell("tail -n 1 /run/user/1000/outcome"));
        EXPECT_EQ(outcome.at("sources").at(source).at("outcome"), "interrupted") << outcome;

        shell(everythingStarted);
        EXPECT_TRUE(eventually([] { return bluetoothIs("Powered") && sleepDelays() == 0; }));
        sleepFor(4);
        ASSERT_TRUE(host.delivers(2));
        EXPECT_EQ(names(host.delivered()[1]), everybody());
    }
}

TEST_F(SystemdTest, TheDoctorSaysWhatIsSo) {
    struct Row {
        const char* so;
        const char* source;
        const char* finding;
    };
    for (const auto& [so, source, finding] : {
             Row{"true", "bluetooth", "ok  BlueZ, hci0"},
             Row{"true", "services", "ok  avahi-daemon"},
             Row{"true", "lifecycle", "ok  logind; this user has no session"},
             Row{"systemctl stop bluetooth", "bluetooth", "no  bluetoothd is not running"},
             Row{"systemctl stop avahi-daemon.socket avahi-daemon", "services", "embedded"},
             Row{"systemctl mask -q --runtime --now systemd-logind", "lifecycle",
                 "no  there is no logind"},
             Row{"systemctl kill -s STOP systemd-logind", "lifecycle",
                 "no  systemd-logind has not answered"},
             Row{"systemctl stop -q dbus.socket dbus", "lifecycle",
                 "no  the system bus does not run"},
         }) {
        shell(so);
        EXPECT_TRUE(eventually([source = source, finding = finding] {
            return asUser(std::string("ambrel doctor --only ") + source + " || [ $? -eq 3 ]")
                       .find(finding) != std::string::npos;
        })) << finding;
        shell(everythingStarted);
    }
}

TEST_F(SystemdTest, ThePackagedUnitsAreSoundAndThatOfTheSystemIsExposedAtMost2) {
    const std::string system = "/usr/lib/systemd/system/ambrel-watch.service";
    EXPECT_EQ(shell("systemd-analyze verify --man=no " + system), "");
    EXPECT_EQ(shell("XDG_RUNTIME_DIR=/run systemd-analyze verify --man=no --user "
                    "/usr/lib/systemd/user/ambrel-watch.service"),
              "");
    const auto judged = shell("systemd-analyze security --no-pager ambrel-watch");
    std::smatch exposure;
    ASSERT_TRUE(std::regex_search(judged, exposure, std::regex("exposure level.*: ([0-9.]+)")));
    std::printf("    exposure %s\n", exposure.str(1).c_str());
    EXPECT_LE(std::stod(exposure.str(1)), 2.0) << judged;
}

TEST_F(SystemdTest, ThePackagedUnitKeepsWhatItHearsAndMayWriteNowhereElse) {
    const auto stored = [](const std::string& count) {
        return eventually(
            [&] { return shell("find /var/lib/ambrel/collections -type f | wc -l") == count; });
    };
    const auto state = [] { return shell("systemctl show -P SubState ambrel-watch"); };
    shell("mkdir -p /var/lib/ambrel/collections && systemctl start ambrel-watch");
    ASSERT_TRUE(stored("1"));
    EXPECT_EQ(names(json::parse(shell("cat /var/lib/ambrel/collections/*"))), everybody());
    EXPECT_EQ(
        shell("nsenter --mount --target $(systemctl show -P MainPID ambrel-watch) setpriv "
              "--reuid=ambrel --regid=ambrel --init-groups find / -path /proc -prune -o -type d "
              "-writable -print 2>/dev/null | sort"),
        "/tmp\n/var/lib/ambrel\n/var/lib/ambrel/collections\n/var/tmp");
    shell("systemctl restart ambrel-watch");
    EXPECT_TRUE(stored("2"));
    shell("systemctl kill -s KILL ambrel-watch");
    EXPECT_TRUE(eventually([&] { return state() == "auto-restart"; }));
    shell("systemctl start ambrel-watch");
    EXPECT_EQ(state(), "running");
    shell("systemctl stop ambrel-watch");
    EXPECT_EQ(state(), "dead");
}

} // namespace

int main(int count, char** arguments) {
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    ::testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
