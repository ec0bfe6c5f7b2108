#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"
#include "AmbrelKit/Linux/Location/DesktopId.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"
#include "tests/location/LocationBed.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/PrivateBus.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sys/mount.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace AmbrelKit::Linux {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* geoClueName = "org.freedesktop.GeoClue2";

/// Tells GeoClue how exact a location the user allows. It is asked for more than that only about
/// programs in a sandbox.
class Agent {
public:
    explicit Agent(std::uint32_t level = 8) : level_(level) {
        sd_bus_open_system(&bus_);
        sd_bus_attach_event(bus_, EventLoop::current()->native(), 0);
        static const sd_bus_vtable table[] = {SD_BUS_VTABLE_START(0),
                                              SD_BUS_PROPERTY("MaxAccuracyLevel", "u", nullptr,
                                                              offsetof(Agent, level_),
                                                              SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
                                              SD_BUS_VTABLE_END};
        sd_bus_add_object_vtable(bus_, nullptr, path, interface, table, this);
        sd_bus_call_method_async(bus_, nullptr, geoClueName, "/org/freedesktop/GeoClue2/Manager",
                                 "org.freedesktop.GeoClue2.Manager", "AddAgent", &added, this, "s",
                                 "ambrel-test-agent");
        EXPECT_TRUE(runUntil([this] { return added_; }));
    }
    ~Agent() {
        sd_bus_detach_event(bus_);
        sd_bus_close_unref(bus_);
    }
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    void setLevel(std::uint32_t level) {
        level_ = level;
        sd_bus_emit_properties_changed(bus_, path, interface, "MaxAccuracyLevel", nullptr);
    }

private:
    static constexpr const char* path = "/org/freedesktop/GeoClue2/Agent";
    static constexpr const char* interface = "org.freedesktop.GeoClue2.Agent";

    static int added(sd_bus_message* reply, void* self, sd_bus_error* /*error*/) {
        static_cast<Agent*>(self)->added_ = sd_bus_message_is_method_error(reply, nullptr) == 0;
        return 0;
    }

    sd_bus* bus_ = nullptr;
    std::uint32_t level_;
    bool added_ = false;
};

/// A bus, and on demand GeoClue on it, whose only source is the receiver of the tests. GeoClue asks
/// a web service where it is whatever its configuration says: it runs where there is no network.
class GeoClue : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(access(program, X_OK), 0) << "GeoClue is to be installed";
        if (!refusal_.empty()) {
            GTEST_SKIP() << refusal_;
        }
        write("geoclue.conf",
              "[agent]\nwhitelist=ambrel-test-agent\n[network-nmea]\nenable=true\nnmea-socket=" +
                  file("nmea") +
                  "\n[3g]\nenable=false\n[cdma]\nenable=false\n[modem-gps]\nenable=false\n"
                  "[wifi]\nenable=false\nurl=http://127.0.0.1:9/\nsubmit-data=false\n"
                  "[compass]\nenable=false\n"
                  "[org.ambrelkit.refused]\nallowed=false\nsystem=false\nusers=\n");
        ASSERT_EQ(mount(file("geoclue.conf").c_str(), settings, nullptr, MS_BIND, nullptr), 0);
        nmea_ = std::make_unique<NmeaServer>(std::filesystem::path(file("nmea")));
        sd_bus_open_system(&control_);
    }
    void TearDown() override {
        sd_bus_flush_close_unref(control_);
        umount2(settings, MNT_DETACH);
    }

    [[nodiscard]] std::string file(const std::string& name) const { return bus_.folder() / name; }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(file(name)) << text;
    }
    void startDaemon() {
        daemon_ =
            std::make_unique<Child>(std::vector<std::string>{program, "-t", "0"}, file("log"));
        ASSERT_TRUE(runUntil([this] { return names().contains(geoClueName); }));
    }

    /// Who is on the bus.
    [[nodiscard]] std::set<std::string> names() const {
        std::set<std::string> set;
        char** list = nullptr;
        sd_bus_list_names(control_, &list, nullptr);
        for (char** name = list; name != nullptr && *name != nullptr; ++name) {
            set.insert(*name);
            free(*name);
        }
        free(list);
        return set;
    }

    static LocationOptions options(const std::string& desktopId = "org.ambrelkit.test",
                                   LocationSourceKind source = LocationSourceKind::geoClue,
                                   std::uint16_t gpsdPort = 1) {
        return {.source = source, .desktopId = desktopId, .gpsdPort = gpsdPort};
    }

    static constexpr const char* program = "/usr/libexec/geoclue";
    static constexpr const char* settings = "/etc/geoclue/geoclue.conf";

    const std::string refusal_ = isolate();
    PrivateBus bus_;
    std::unique_ptr<NmeaServer> nmea_;
    sd_bus* control_ = nullptr;
    std::unique_ptr<Child> daemon_;
};

TEST_F(GeoClue, GivesThePlaceThatItsReceiverTells) {
    startDaemon();
    const Agent agent;
    const Session session(options());
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(); }, 1s)) << "milliseconds are usual";
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(2); }));
    EXPECT_THAT(session.statuses, ElementsAre(0, 4));
    for (const LocationFix& fix : session.fixes) {
        EXPECT_TRUE(NmeaServer::isPlace(fix.coordinate));
        EXPECT_TRUE(nmea_->stamps.contains(fix.timestamp));
    }
}

TEST_F(GeoClue, ARefusalIsDeniedAndSaysWhy) {
    startDaemon();
    for (const auto& [level, id, why] :
         {std::tuple(0U, "org.ambrelkit.test", "disabled"),
          std::tuple(8U, "org.ambrelkit.refused", "configuration")}) {
        const Agent agent(level);
        const Session session(options(id));
        ASSERT_TRUE(runUntil([&] { return !session.failures.empty(); })) << why;
        EXPECT_THAT(session.statuses, ElementsAre(0, 2)) << why;
        EXPECT_THAT(session.failures, ElementsAre(HasSubstr(why)));
    }
}

TEST_F(GeoClue, AnAgentThatComesLateIsAskedThen) {
    startDaemon();
    const Session session(options());
    ASSERT_TRUE(runUntil([&] { return !session.failures.empty(); }));
    EXPECT_THAT(session.statuses, ElementsAre(0));
    const Agent agent;
    EXPECT_TRUE(runUntil([&] { return session.hasFixes(); }));
    EXPECT_THAT(session.statuses, ElementsAre(0, 4));
}

TEST_F(GeoClue, TheUserMayTurnLocationOffAndOn) {
    startDaemon();
    Agent agent;
    const Session session(options());
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(); }));
    agent.setLevel(0);
    ASSERT_TRUE(runUntil([&] { return session.statuses.back() == 2; }));
    agent.setLevel(8);
    ASSERT_TRUE(runUntil([&] { return session.statuses.back() == 4; }));
    const std::size_t before = session.fixes.size();
    EXPECT_TRUE(runUntil([&] { return session.hasFixes(before + 1); }));
}

TEST_F(GeoClue, OneThatIsKilledIsTakenUpWhenItComesBack) {
    startDaemon();
    auto agent = std::make_unique<Agent>();
    const Session session(options());
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(); }));
    daemon_.reset();
    startDaemon();
    agent = std::make_unique<Agent>();
    const std::size_t before = session.fixes.size();
    EXPECT_TRUE(runUntil([&] { return session.hasFixes(before + 1); }));
    EXPECT_THAT(session.statuses, ElementsAre(0, 4));
}

TEST_F(GeoClue, OneThatHangsCostsNothingButTheFix) {
    startDaemon();
    const Agent agent;
    daemon_->signal(SIGSTOP);
    const Session session(options());
    ASSERT_TRUE(runUntil([&] { return !session.failures.empty(); }));
    EXPECT_THAT(session.statuses, ElementsAre(0));
    daemon_->signal(SIGCONT);
    EXPECT_TRUE(runUntil([&] { return session.hasFixes(); }));
}

TEST_F(GeoClue, OneThatDoesNotRunIsStarted) {
    write("org.freedesktop.GeoClue2.service",
          "[D-BUS Service]\nName=org.freedesktop.GeoClue2\nUser=root\nExec=" +
              std::string(program) + " -t 0");
    const Session session(options());
    const Agent agent;
    EXPECT_TRUE(runUntil([&] { return session.hasFixes(); }));
}

TEST_F(GeoClue, ADiagnosisTellsWhatIsMissing) {
    startDaemon();
    const auto finding = [](LocationSourceKind source = LocationSourceKind::geoClue) {
        std::string found;
        const auto diagnosis = Diagnosis::start(
            options("org.ambrelkit.test", source),
            [&](const auto& all) { found = all.front().finding + ": " + all.front().remedy; },
            {"location"});
        EXPECT_TRUE(runUntil([&] { return !found.empty(); }));
        return found;
    };
    EXPECT_THAT(finding(), HasSubstr("no agent"));
    for (const auto& [level, found] :
         {std::pair(0U, "refuses"), std::pair(4U, "found no place"), std::pair(8U, "GeoClue: ")}) {
        const Agent agent(level);
        EXPECT_THAT(finding(), HasSubstr(found));
    }
    const Agent agent(0);
    EXPECT_THAT(finding(LocationSourceKind::automatic),
                AllOf(HasSubstr("refuses"), HasSubstr("--location gpsd")));
}

TEST_F(GeoClue, OneIsStartedOnceThereIsABus) {
    write("org.freedesktop.GeoClue2.service",
          "[D-BUS Service]\nName=org.freedesktop.GeoClue2\nUser=root\nExec=/bin/touch " +
              file("asked"));
    bus_.stop();
    const Session session(options());
    runUntil([] { return false; }, 100ms);
    bus_.start();
    EXPECT_TRUE(runUntil([&] { return access(file("asked").c_str(), F_OK) == 0; }));
}

TEST_F(GeoClue, AHostThatNamesNoDesktopFileIsStillSomebody) {
    startDaemon();
    const Agent agent;
    const auto refusal = [] {
        const Session session(options(""));
        EXPECT_TRUE(runUntil([&] { return session.statuses.size() > 1; }));
        runUntil([&] { return !session.failures.empty() || session.statuses.back() == 4; });
        return session.failures.empty() ? "none" : session.failures.front();
    };
    EXPECT_EQ(refusal(), "none") << "the program's name serves";
    const auto refused = HasSubstr("'org.ambrelkit.refused'");
    setenv("GIO_LAUNCHED_DESKTOP_FILE", "/usr/share/applications/org.ambrelkit.refused.desktop", 1);
    setenv("GIO_LAUNCHED_DESKTOP_FILE_PID", "1", 1);
    EXPECT_EQ(refusal(), "none") << "what was launched is another process";
    setenv("GIO_LAUNCHED_DESKTOP_FILE_PID", std::to_string(getpid()).c_str(), 1);
    EXPECT_THAT(refusal(), refused);
    setenv("FLATPAK_ID", "org.ambrelkit.test", 1);
    EXPECT_EQ(refusal(), "none");
    Bundle::main().setInfoDictionary(
        JSONDictionary{{"CFBundleIdentifier", "org.ambrelkit.refused"}});
    EXPECT_THAT(refusal(), refused);
    Bundle::main().setInfoDictionary(std::nullopt);
    for (const char* name :
         {"FLATPAK_ID", "GIO_LAUNCHED_DESKTOP_FILE", "GIO_LAUNCHED_DESKTOP_FILE_PID"}) {
        unsetenv(name);
    }
}

TEST(DesktopId, IsReadFromTheUnitsThatDesktopsMake) {
    for (const auto& [unit, application] :
         std::initializer_list<std::pair<const char*, const char*>>{
             {"app-org.example.App-12345.scope", "org.example.App"},
             {"app-gnome-org.example.App-12345.scope", "org.example.App"},
             {"app-KDE-org.example.two\\x2dwords@9f00.service", "org.example.two-words"},
             {"app-org.example.App@autostart.service", "org.example.App"},
             {"app-org.example.App.service", "org.example.App"},
             {"app-org.example.scope", ""},
             {"vte-spawn-9f00.scope", ""},
             {"session-2.scope", ""},
             {"app-", ""},
         }) {
        EXPECT_EQ(applicationOfUnit(unit), application) << unit;
    }
}

#ifdef AMBREL_TOOL
TEST_F(GeoClue, ThePlaceIsInTheDictionaryOfAScan) {
    startDaemon();
    const Agent agent;
    EXPECT_TRUE(NmeaServer::isPlace(scan("auto").value()));
}
#endif

constexpr const char* gpsdFix = "{\"class\":\"TPV\",\"mode\":3,\"lat\":1,\"lon\":1}\n";

TEST_F(GeoClue, GpsdStandsInOnlyWhereGeoClueIsNotThere) {
    Server gpsd;
    gpsd.accepted = [&gpsd] { gpsd.send(gpsdFix); };
    const auto automatic =
        options("org.ambrelkit.test", LocationSourceKind::automatic, gpsd.port());
    {
        const Session session(automatic);
        EXPECT_TRUE(runUntil([&] { return session.hasFixes(); })) << "no GeoClue";
        EXPECT_THAT(session.statuses, ElementsAre(0, 4));
    }
    startDaemon();
    gpsd.accepted = [] { ADD_FAILURE() << "gpsd asked beside GeoClue"; };
    {
        const Agent agent;
        const Session session(automatic);
        EXPECT_TRUE(runUntil([&] { return session.hasFixes(); }));
    }
    const Agent agent(4); // to the city: served, but no fix from a receiver comes
    const Session session(automatic);
    EXPECT_FALSE(runUntil([&] { return session.hasFixes(); }, 3500ms));
    EXPECT_THAT(session.statuses, ElementsAre(0, 4));
}

TEST_F(GeoClue, ARefusalBindsGpsdToo) {
    Server gpsd;
    gpsd.accepted = [&gpsd] { gpsd.send(gpsdFix); };
    const auto factory = makeLocationManagerFactory(
        EventLoop::current(),
        options("org.ambrelkit.test", LocationSourceKind::automatic, gpsd.port()));
    startDaemon();
    {
        const Session session(factory);
        ASSERT_TRUE(runUntil([&] { return session.hasFixes(); })) << "no agent: as if not there";
        const Agent agent(0);
        ASSERT_TRUE(runUntil([&] { return session.statuses.back() == 2; }));
        gpsd.send(gpsdFix);
        EXPECT_FALSE(runUntil([&] { return session.hasFixes(2); }, 100ms));
        EXPECT_THAT(session.statuses, ElementsAre(0, 4, 2));
    }
    gpsd.accepted = [] { ADD_FAILURE() << "gpsd asked after a refusal"; };
    daemon_.reset();
    {
        const Session session(factory);
        EXPECT_FALSE(runUntil([&] { return session.hasFixes(); }, 300ms)) << "GeoClue is gone";
    }
    startDaemon();
    {
        const Agent agent;
        const Session session(factory);
        EXPECT_TRUE(runUntil([&] { return session.hasFixes(); })) << "taken back";
    }
}

TEST_F(GeoClue, AThousandRoundsLeaveNothing) {
    startDaemon();
    const Agent agent;
    const auto namesBefore = names();
    const std::size_t descriptorsBefore = openDescriptors();
    for (int i = 0; i < 1000; ++i) {
        const Session session(options());
        runUntil([&] { return session.statuses.size() > static_cast<std::size_t>(i % 2); });
    }
    EXPECT_TRUE(runUntil([&] { return names() == namesBefore; }));
    nmea_->server.hangUp();
    EXPECT_EQ(openDescriptors(), descriptorsBefore);
}

/// A GeoClue that tells of two new places before it gives the one that it is asked for, and starts
/// when the test wants.
class HastyGeoClue {
public:
    HastyGeoClue() {
        sd_bus_open_system(&bus_);
        sd_bus_add_filter(bus_, nullptr, &called, this);
        sd_bus_request_name(bus_, geoClueName, 0);
        sd_bus_attach_event(bus_, EventLoop::current()->native(), 0);
    }
    ~HastyGeoClue() {
        sd_bus_message_unref(asked);
        sd_bus_detach_event(bus_);
        sd_bus_close_unref(bus_);
    }
    HastyGeoClue(const HastyGeoClue&) = delete;
    HastyGeoClue& operator=(const HastyGeoClue&) = delete;

    void start() {
        sd_bus_reply_method_return(asked, "");
        tellOfAPlace();
    }

    sd_bus_message* asked = nullptr; ///< to start

private:
    static int called(sd_bus_message* call, void* context, sd_bus_error* /*error*/) {
        auto& self = *static_cast<HastyGeoClue*>(context);
        const char* name = sd_bus_message_get_member(call);
        const std::string_view member = name != nullptr ? name : "";
        if (member == "GetClient") {
            return sd_bus_reply_method_return(call, "o", "/client");
        }
        if (member == "Start") {
            self.asked = sd_bus_message_ref(call);
            return 1;
        }
        if (member != "GetAll") {
            return 0;
        }
        const double place = std::stod(std::string(sd_bus_message_get_path(call)).substr(1));
        self.tellOfAPlace();
        self.tellOfAPlace();
        return sd_bus_reply_method_return(call, "a{sv}", 2, "Latitude", "d", place, "Longitude",
                                          "d", 1.0);
    }

    void tellOfAPlace() {
        const std::string place = "/" + std::to_string(++places_);
        sd_bus_emit_signal(bus_, "/client", "org.freedesktop.GeoClue2.Client", "LocationUpdated",
                           "oo", "/", place.c_str());
    }

    sd_bus* bus_ = nullptr;
    int places_ = 0;
};

TEST(HastyGeoClueTest, AFloodOfPlacesDoesNotStarveTheFix) {
    const PrivateBus bus;
    HastyGeoClue geoClue;
    const Session session({.source = LocationSourceKind::geoClue});
    ASSERT_TRUE(runUntil([&] { return geoClue.asked != nullptr; }));
    geoClue.start();
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(3); }, 2s));
    EXPECT_EQ(session.fixes[0].coordinate.latitude, 1);
    EXPECT_EQ(session.fixes[1].coordinate.latitude, 3) << "the newest one is read";
}

TEST(HastyGeoClueTest, WhileItAsksTheUserGpsdDoesNotStandIn) {
    const PrivateBus bus;
    const HastyGeoClue geoClue;
    Server gpsd;
    gpsd.accepted = [] { ADD_FAILURE() << "the user has not answered"; };
    const Session session({.source = LocationSourceKind::automatic, .gpsdPort = gpsd.port()});
    EXPECT_FALSE(runUntil([&] { return !session.failures.empty(); }, 3500ms));
    sd_bus_reply_method_errorf(geoClue.asked, SD_BUS_ERROR_ACCESS_DENIED, "no");
    EXPECT_TRUE(runUntil([&] { return !session.failures.empty(); }));
    EXPECT_THAT(session.statuses, ElementsAre(0, 2));
}

} // namespace
} // namespace AmbrelKit::Linux
