#include "tests/Linux/Location/LocationBed.hpp"
#include "tests/support/Isolation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace AmbrelKit::Linux {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

LocationOptions gpsdAt(std::uint16_t port) {
    return {.source = LocationSourceKind::gpsd, .gpsdPort = port};
}

std::string report(double latitude) {
    return R"({"class":"TPV","mode":3,"lon":1,"lat":)" + std::to_string(latitude) + "}\r\n";
}

std::vector<double> latitudes(const Session& session) {
    std::vector<double> list;
    for (const LocationFix& fix : session.fixes) {
        list.push_back(fix.coordinate.latitude);
    }
    return list;
}

TEST(Gpsd, FixesComeThroughPiecesJunkAndAnEndlessLine) {
    Server server;
    const Session session(gpsdAt(server.port()));
    EXPECT_TRUE(session.statuses.empty()) << "told inside setDelegate";
    ASSERT_TRUE(runUntil([&] { return !server.peers.empty(); }));
    EXPECT_THAT(session.statuses, ElementsAre(4));
    std::array<char, 100> command{};
    recv(server.peers[0], command.data(), command.size() - 1, 0);
    EXPECT_STREQ(command.data(), "?WATCH={\"enable\":true,\"json\":true};\n");
    const std::string stream = std::string("\0\xff{\n[[[[\n", 9) + report(1) + report(91) +
                               std::string(1 << 20, '[') + "\n" + report(2) +
                               report(3).substr(0, 9);
    for (std::size_t i = 0; i < stream.size(); i += 50'000) { // less than a socket takes at once
        server.send(std::string_view(stream).substr(i, 50'000));
        EventLoop::current()->dispatch();
    }
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(2); }));
    server.send(report(3).substr(9));
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(3); }));
    EXPECT_THAT(latitudes(session), ElementsAre(1, 2, 3));
}

TEST(Gpsd, OneThatGoesIsTakenUpWhenItComesBack) {
    auto server = std::make_unique<Server>();
    const std::uint16_t port = server->port();
    const std::string means = "gpsd at 127.0.0.1 port " + std::to_string(port);
    const Session session(gpsdAt(port));
    ASSERT_TRUE(runUntil([&] { return !server->peers.empty(); }));
    EXPECT_EQ(session.condition().state, SourceState::starting) << "anybody may listen there";
    server->send("{}\n");
    ASSERT_TRUE(runUntil([&] { return session.condition().state == SourceState::listening; }));
    EXPECT_EQ(session.condition().code, "no-fix");
    server->send(report(1) + report(8).substr(0, 20));
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(); }));
    EXPECT_EQ(session.condition().code, "");
    server.reset();
    EXPECT_FALSE(runUntil([] { return false; }, 600ms)); // refused at least once
    EXPECT_EQ(session.condition().state, SourceState::unavailable);
    server = std::make_unique<Server>(port);
    ASSERT_TRUE(runUntil([&] { return !server->peers.empty(); }));
    server->send("\n" + report(2));
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(2); }));
    EXPECT_THAT(latitudes(session), ElementsAre(1, 2));
    EXPECT_THAT(session.statuses, ElementsAre(4));
    EXPECT_THAT(session.failures, ElementsAre("nothing answers as " + means));
    const SourceAccount account = session.report().collection;
    EXPECT_EQ(account.outcome, SourceOutcome::interrupted);
    EXPECT_EQ(account.reports, 2U);
    ASSERT_EQ(account.absences.size(), 1U);
    EXPECT_EQ(account.absences[0].who, means);
    const auto away = account.absences[0].until.value() - account.absences[0].from;
    EXPECT_TRUE(away >= 600ms && away < 2s) << away.count() << " ns";
}

TEST(Gpsd, OneManagerThatFailsDoesNotHideAnotherThatListens) {
    Server server;
    server.accepted = [&server] { server.send(report(1)); };
    const Session none({.source = LocationSourceKind::none});
    EXPECT_EQ(none.report().collection.outcome, SourceOutcome::notAsked) << "as chosen";
    {
        const Session failing(gpsdAt(1));
        ASSERT_TRUE(runUntil([&] { return !failing.failures.empty(); }));
        EXPECT_EQ(failing.condition().code, "no-daemon");
        {
            const Session listening(gpsdAt(server.port()));
            ASSERT_TRUE(runUntil([&] { return listening.hasFixes(); }));
            const Session another(gpsdAt(1));
            ASSERT_TRUE(runUntil([&] { return !another.failures.empty(); }));
            EXPECT_EQ(another.condition().state, SourceState::listening);
        }
        EXPECT_EQ(failing.condition().code, "no-daemon");
    }
    EXPECT_EQ(none.condition().state, SourceState::idle);
}

TEST(Gpsd, AThousandRoundsLeaveNothingAndAStopIsFinal) {
    Server server;
    server.accepted = [&server] { server.send(report(1)); };
    static_cast<void>(
        EventLoop::current()->deadline([] {})); // the loop keeps a descriptor for timers
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 1000; ++i) {
        Session session(gpsdAt(server.port()));
        runUntil([&] { return i % 2 == 0 ? session.hasFixes() : !session.statuses.empty(); });
        session.manager->stopUpdatingLocation();
        session.fixes.clear();
        server.send(report(2));
        EventLoop::current()->dispatch();
        ASSERT_TRUE(session.fixes.empty());
        server.hangUp();
    }
    EXPECT_FALSE(runUntil([&server] { return server.peers.size() > 1; }, 600ms)) << "tried again";
    server.hangUp();
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Gpsd, TheReceiverMayThrowOrDropTheManagerInsideItsCalls) {
    struct Rude final : LocationManagerDelegate {
        void locationManagerDidChangeAuthorizationStatus(LocationManager& manager,
                                                         LocationAuthorizationStatus) override {
            manager.startUpdatingLocation();
            throw std::runtime_error("status");
        }
        void locationManagerDidUpdateLocations(LocationManager&,
                                               const std::vector<LocationFix>&) override {
            owned.reset();
            throw std::runtime_error("fix");
        }
        void locationManagerDidFailWithError(LocationManager&, const std::string&) override {}
        std::shared_ptr<LocationManager> owned;
    };
    Server server;
    server.accepted = [&server] { server.send(report(1)); };
    const auto rude = std::make_shared<Rude>();
    rude->owned = makeLocationManagerFactory(EventLoop::current(), gpsdAt(server.port()))();
    rude->owned->setDelegate(rude);
    for (const char* thrown : {"status", "fix"}) {
        try {
            runUntil([] { return false; });
            ADD_FAILURE() << thrown;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), thrown);
        }
    }
    EXPECT_EQ(rude->owned, nullptr);
}

TEST(Gpsd, OnlyANumericAddressIsTaken) {
    const auto make = [](const char* address) {
        LocationOptions options = gpsdAt(1);
        options.gpsdAddress = address;
        return makeLocationManagerFactory(EventLoop::current(), options)();
    };
    EXPECT_TRUE(make("::1"));
    EXPECT_THROW(make("localhost"), std::invalid_argument);
}

/// The daemon itself, at its own port: in a network of this test.
class GpsdDaemon : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(access("/usr/sbin/gpsd", X_OK), 0) << "gpsd is to be installed";
        if (const std::string refusal = isolate(); !refusal.empty()) {
            GTEST_SKIP() << refusal;
        }
        nmea_ = std::make_unique<NmeaServer>(std::uint16_t{0});
        gpsd_ = std::make_unique<Child>(
            std::vector<std::string>{"/usr/sbin/gpsd", "-N", "-n",
                                     "tcp://127.0.0.1:" + std::to_string(nmea_->server.port())});
    }

    std::unique_ptr<NmeaServer> nmea_;
    std::unique_ptr<Child> gpsd_;
};

TEST_F(GpsdDaemon, GivesThePlaceThatItsReceiverTells) {
    const Session session({.source = LocationSourceKind::gpsd});
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(2); }));
    for (const LocationFix& fix : session.fixes) {
        EXPECT_TRUE(NmeaServer::isPlace(fix.coordinate));
        EXPECT_EQ(fix.altitude, 171);
        EXPECT_EQ(fix.determinedBy, "gpsd");
    }
    EXPECT_TRUE(nmea_->stamps.contains(session.fixes.back().timestamp));
}

#ifdef AMBREL_TOOL
TEST_F(GpsdDaemon, ThePlaceIsInTheDictionaryOfAScan) {
    EXPECT_TRUE(NmeaServer::isPlace(scan("gpsd").value()));
}
#endif

} // namespace
} // namespace AmbrelKit::Linux
