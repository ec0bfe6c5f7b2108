#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"
#include "tests/Linux/Location/GeoClueBed.hpp"

#include <csignal>
#include <gmock/gmock.h>

namespace AmbrelKit::Linux {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(GeoClueTest, GivesThePlaceThatItsReceiverTells) {
    startDaemon();
    const Agent agent;
    const Session session(options("")); // a host that names no desktop file
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(); }, 1s)) << "milliseconds are usual";
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(2); }));
    EXPECT_THAT(session.statuses, ElementsAre(0, 4));
    for (const LocationFix& fix : session.fixes) {
        EXPECT_TRUE(NmeaServer::isPlace(fix.coordinate));
        EXPECT_TRUE(nmea_->stamps.contains(fix.timestamp));
        EXPECT_EQ(fix.horizontalAccuracy, 0); // as GeoClue calls that of a good receiver
        EXPECT_EQ(fix.altitude, 171);
        EXPECT_EQ(fix.determinedBy, "GeoClue");
    }
}

TEST_F(GeoClueTest, ARefusalIsDeniedAndSaysWhy) {
    startDaemon();
    for (const auto& [level, id, why] :
         {std::tuple(0U, "org.ambrelkit.test", "disabled"),
          std::tuple(8U, "org.ambrelkit.refused", "configuration")}) {
        const Agent agent(level);
        const Session session(options(id));
        ASSERT_TRUE(runUntil([&] { return !session.failures.empty(); })) << why;
        EXPECT_THAT(session.statuses, ElementsAre(0, 2)) << why;
        EXPECT_THAT(session.failures, ElementsAre(HasSubstr(why)));
        EXPECT_EQ(session.condition().state, SourceState::refused);
    }
}

TEST_F(GeoClueTest, TheUserMayTurnLocationOffAndOn) {
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

TEST_F(GeoClueTest, OneThatIsKilledIsTakenUpWhenItComesBack) {
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
    const SourceAccount account = session.report().collection;
    EXPECT_EQ(account.outcome, SourceOutcome::interrupted);
    EXPECT_EQ(account.reports, session.fixes.size());
    ASSERT_EQ(account.absences.size(), 1U);
    EXPECT_EQ(account.absences[0].who, "GeoClue");
    const auto away = account.absences[0].until.value() - account.absences[0].from;
    EXPECT_TRUE(away > 0s && away < 2s) << away.count() << " ns";
}

TEST_F(GeoClueTest, OneThatHangsCostsNothingButTheFix) {
    startDaemon();
    const Agent agent;
    daemon_->signal(SIGSTOP);
    const Session session(options());
    ASSERT_TRUE(runUntil([&] { return !session.failures.empty(); }));
    EXPECT_THAT(session.statuses, ElementsAre(0));
    EXPECT_EQ(session.condition().code, "daemon-silent");
    daemon_->signal(SIGCONT);
    EXPECT_TRUE(runUntil([&] { return session.hasFixes(); }));
}

TEST_F(GeoClueTest, OneThatDoesNotRunIsStarted) {
    write("org.freedesktop.GeoClue2.service",
          "[D-BUS Service]\nName=org.freedesktop.GeoClue2\nUser=root\nExec=" +
              std::string(program) + " -t 0");
    const Session session(options());
    const Agent agent;
    EXPECT_TRUE(runUntil([&] { return session.hasFixes(); }));
}

TEST_F(GeoClueTest, ADiagnosisWaitsForAFix) {
    startDaemon();
    for (const auto& [level, expected] :
         {std::pair(4U, "found no place"), std::pair(8U, "GeoClue")}) {
        const Agent agent(level);
        std::string found;
        const auto diagnosis = Diagnosis::start(
            options(), [&](const auto& all) { found = all.front().finding; }, {"location"});
        EXPECT_TRUE(runUntil([&] { return !found.empty(); }));
        EXPECT_THAT(found, HasSubstr(expected));
    }
}

TEST_F(GeoClueTest, TheBoardSaysWhatStandsInTheWay) {
    const auto restartBus = [this](const char* file, const std::string& text) {
        bus_.stop();
        write(file, text);
        bus_.start();
    };
    const auto start = [this] {
        sd_bus_flush_close_unref(control_);
        sd_bus_open_system(&control_);
        startDaemon();
    };
    std::optional<Server> closing;
    const struct {
        const char* code;
        const char* reason;
        LocationSourceKind source;
        std::function<void()> arrange;
    } table[] = {
        {"not-installed", "GeoClue is not installed", LocationSourceKind::geoClue, [] {}},
        {"not-installed", "GeoClue is not installed", LocationSourceKind::automatic, [] {}},
        {"no-daemon", "cannot be started", LocationSourceKind::geoClue,
         [&] {
             restartBus("org.freedesktop.GeoClue2.service",
                        "[D-BUS Service]\nName=org.freedesktop.GeoClue2\nExec=/bin/false");
         }},
        {"no-agent", "no agent", LocationSourceKind::geoClue, start},
        {"not-allowed", "may not use", LocationSourceKind::geoClue,
         [&] {
             restartBus("policy", "<busconfig><policy context=\"mandatory\"><deny send_destination="
                                  "\"org.freedesktop.GeoClue2\"/></policy></busconfig>");
             start();
         }},
        {"bus-silent", "not answer", LocationSourceKind::geoClue, [&] { bus_.freeze(); }},
        {"no-bus", "bus does not run", LocationSourceKind::geoClue, [&] { bus_.stop(); }},
        {"no-bus", "bus does not run", LocationSourceKind::automatic, [] {}},
        {"bus-refuses", "closes", LocationSourceKind::geoClue,
         [&] {
             closing.emplace(bus_.folder() / "socket");
             closing->accepted = [&] { closing->hangUp(); };
         }},
    };
    for (const auto& [code, reason, source, arrange] : table) {
        arrange();
        const Session session(options("org.ambrelkit.test", source));
        EXPECT_TRUE(runUntil([&, code = code] { return session.condition().code == code; }))
            << code << ": " << session.condition().reason;
        EXPECT_THAT(session.condition().reason, HasSubstr(reason));
        const auto found =
            session.condition().reason.find(", and nothing answers as gpsd at 127.0.0.1 port 1");
        const bool asksGpsd = AMBREL_WITH_GPSD != 0 && source == LocationSourceKind::automatic;
        EXPECT_EQ(found != std::string::npos, asksGpsd) << session.condition().reason;
        EXPECT_EQ(session.report().collection.outcome, SourceOutcome::failed) << code;
    }
}

TEST_F(GeoClueTest, OneIsStartedOnceThereIsABus) {
    write("org.freedesktop.GeoClue2.service",
          "[D-BUS Service]\nName=org.freedesktop.GeoClue2\nUser=root\nExec=/bin/touch " +
              file("asked"));
    bus_.stop();
    const Session session(options());
    runUntil([] { return false; }, 100ms);
    bus_.start();
    EXPECT_TRUE(runUntil([&] { return access(file("asked").c_str(), F_OK) == 0; }));
}

#ifdef AMBREL_TOOL
TEST_F(GeoClueTest, ThePlaceIsInTheDictionaryOfAScan) {
    startDaemon();
    const Agent agent;
    EXPECT_TRUE(NmeaServer::isPlace(scan("auto").value()));
}
#endif

#if AMBREL_WITH_GPSD
constexpr const char* gpsdFix = "{\"class\":\"TPV\",\"mode\":3,\"lat\":1,\"lon\":1}\n";

TEST_F(GeoClueTest, GpsdStandsInOnlyWhereGeoClueIsNotThere) {
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
        EXPECT_EQ(session.report().collection.means, "GeoClue");
    }
    auto agent =
        std::make_unique<Agent>(4); // to the city: served, but no fix from a receiver comes
    const Session session(automatic);
    EXPECT_FALSE(runUntil([&] { return session.hasFixes(); }, 3500ms));
    EXPECT_THAT(session.statuses, ElementsAre(0, 4));
    EXPECT_EQ(session.condition().state, SourceState::listening);
    EXPECT_EQ(session.condition().code, "no-place");
    EXPECT_THAT(session.condition().remedy, HasSubstr("--location gpsd"));
    gpsd.accepted = [&gpsd] { gpsd.send(gpsdFix); };
    agent.reset();
    daemon_.reset();
    startDaemon();
    EXPECT_TRUE(runUntil([&] { return session.hasFixes(); })) << "started again, it is silent";
}

TEST_F(GeoClueTest, ARefusalBindsGpsdToo) {
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

#endif

TEST_F(GeoClueTest, AThousandRoundsLeaveNothing) {
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

} // namespace
} // namespace AmbrelKit::Linux
