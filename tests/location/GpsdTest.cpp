#include "tests/location/LocationBed.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <iostream>
#include <stdexcept>

namespace AmbrelKit::Linux {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using Clock = std::chrono::steady_clock;

LocationOptions gpsdAt(std::uint16_t port) {
    return {.source = LocationSourceKind::gpsd, .gpsdPort = port};
}

std::string report(double latitude) {
    return R"({"class":"TPV","mode":3,"lon":1,"lat":)" + std::to_string(latitude) + "}\r\n";
}

std::vector<double> latitudes(const Session& session) {
    std::vector<double> list;
    for (const LocationFix& fix : session.heard->fixes) {
        list.push_back(fix.coordinate.latitude);
    }
    return list;
}

TEST(Gpsd, IsAskedToReportAndNeedsNoAuthorisation) {
    Server server;
    const Session session(gpsdAt(server.port()));
    EXPECT_TRUE(session.heard->statuses.empty()) << "reported inside setDelegate";
    ASSERT_TRUE(runUntil([&] { return !server.peers.empty(); }));
    EXPECT_THAT(session.heard->statuses, ElementsAre(4));
    std::array<char, 100> command{};
    const auto size = recv(server.peers[0], command.data(), command.size(), 0);
    EXPECT_EQ(std::string(command.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))),
              "?WATCH={\"enable\":true,\"json\":true};\n");
}

TEST(Gpsd, FixesComeThroughPiecesJunkAndAnEndlessLine) {
    Server server;
    const Session session(gpsdAt(server.port()));
    ASSERT_TRUE(runUntil([&] { return !server.peers.empty(); }));
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
    const Session session(gpsdAt(port));
    ASSERT_TRUE(runUntil([&] { return !server->peers.empty(); }));
    server->send(report(1) + report(8).substr(0, 20));
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(); }));
    server.reset();
    EXPECT_FALSE(runUntil([] { return false; }, 600ms)); // refused at least once
    server = std::make_unique<Server>(port);
    ASSERT_TRUE(runUntil([&] { return !server->peers.empty(); }));
    server->send("\n" + report(2));
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(2); }));
    EXPECT_THAT(latitudes(session), ElementsAre(1, 2));
    EXPECT_THAT(session.heard->statuses, ElementsAre(4));
    EXPECT_TRUE(session.heard->failures.empty());
}

TEST(Gpsd, AfterStopNothingComesAndNothingIsTried) {
    Server server;
    Session session(gpsdAt(server.port()));
    ASSERT_TRUE(runUntil([&] { return !server.peers.empty(); }));
    server.send(report(1));
    session.manager->stopUpdatingLocation();
    EXPECT_FALSE(runUntil([&] { return session.hasFixes() || server.peers.size() > 1; }, 600ms));
    session.manager->startUpdatingLocation();
    EXPECT_TRUE(runUntil([&] { return server.peers.size() > 1; }));
}

TEST(Gpsd, AThousandRoundsLeaveNothing) {
    Server server;
    server.accepted = [&server] { server.send(report(1)); };
    const auto round = [&server](int i) {
        const Session session(gpsdAt(server.port()));
        runUntil(
            [&] { return i % 2 == 0 ? session.hasFixes() : !session.heard->statuses.empty(); });
        server.hangUp();
    };
    round(0);
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 1000; ++i) {
        round(i);
    }
    runUntil([] { return false; }, 50ms); // the server sees off the last
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
    const auto rude = std::make_shared<Rude>();
    rude->owned = makeLocationManagerFactory(EventLoop::current(), gpsdAt(server.port()))();
    rude->owned->setDelegate(rude);
    std::vector<std::string> thrown;
    const auto run = [&](const std::function<bool()>& condition) {
        try {
            return runUntil(condition);
        } catch (const std::runtime_error& error) {
            thrown.emplace_back(error.what());
            return true;
        }
    };
    run([] { return false; });
    ASSERT_TRUE(run([&] { return !server.peers.empty(); }));
    server.send(report(1));
    run([] { return false; });
    EXPECT_THAT(thrown, ElementsAre("status", "fix"));
}

TEST(Gpsd, OnlyANumericAddressIsTaken) {
    LocationOptions options = gpsdAt(1);
    options.gpsdAddress = "::1";
    EXPECT_NO_THROW(makeLocationManagerFactory(EventLoop::current(), options));
    options.gpsdAddress = "localhost";
    EXPECT_THROW(makeLocationManagerFactory(EventLoop::current(), options), std::invalid_argument);
}

TEST(Gpsd, ItsOwnDaemonGivesThePlaceThatItsReceiverTells) {
    if (!std::filesystem::exists("/usr/sbin/gpsd")) {
        GTEST_SKIP() << "gpsd is not installed";
    }
    const NmeaServer nmea(std::uint16_t{0});
    const std::uint16_t port = Server().port(); // free again at once
    const Child gpsd({"/usr/sbin/gpsd", "-N", "-n", "-S", std::to_string(port),
                      "tcp://127.0.0.1:" + std::to_string(nmea.server.port())});
    const Session session(gpsdAt(port));
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(2); }));
    for (const LocationFix& fix : session.heard->fixes) {
        EXPECT_NEAR(fix.coordinate.latitude, NmeaServer::place.latitude, 1e-6);
        EXPECT_NEAR(fix.coordinate.longitude, NmeaServer::place.longitude, 1e-6);
    }
    EXPECT_TRUE(nmea.stamps.contains(session.heard->fixes.back().timestamp));
}

} // namespace
} // namespace AmbrelKit::Linux
