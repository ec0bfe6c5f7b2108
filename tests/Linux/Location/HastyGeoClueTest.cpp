#include "tests/Linux/Location/LocationBed.hpp"
#include "tests/support/PrivateBus.hpp"

#include <gmock/gmock.h>
#include <systemd/sd-bus.h>

namespace AmbrelKit::Linux {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A GeoClue that tells of two new places before it gives the one that it is asked for, and starts
/// when the test wants.
class HastyGeoClue {
public:
    HastyGeoClue() {
        sd_bus_open_system(&bus_);
        sd_bus_add_filter(bus_, nullptr, &called, this);
        sd_bus_request_name(bus_, "org.freedesktop.GeoClue2", 0);
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

    void fail(const char* error) {
        sd_bus_reply_method_errorf(asked, error, "no map");
        asked = sd_bus_message_unref(asked);
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
            sd_bus_message_unref(self.asked);
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

TEST(HastyGeoClueTest, OneThatFailsIsAskedAgain) {
    const PrivateBus bus;
    HastyGeoClue geoClue;
    const Session session({.source = LocationSourceKind::geoClue});
    ASSERT_TRUE(runUntil([&] { return geoClue.asked != nullptr; }));
    geoClue.fail(SD_BUS_ERROR_FAILED);
    ASSERT_TRUE(runUntil([&] { return session.condition().code == "daemon-fails"; }));
    EXPECT_EQ(session.condition().reason, "GeoClue fails: no map");
    ASSERT_TRUE(runUntil([&] { return geoClue.asked != nullptr; }, 1s));
    geoClue.start();
    ASSERT_TRUE(runUntil([&] { return session.hasFixes(); }));
    EXPECT_EQ(session.report().collection.outcome, SourceOutcome::listened);
}

TEST(HastyGeoClueTest, WhileItAsksTheUserGpsdDoesNotStandIn) {
    const PrivateBus bus;
    HastyGeoClue geoClue;
    Server gpsd;
    gpsd.accepted = [] { ADD_FAILURE() << "the user has not answered"; };
    const Session session({.source = LocationSourceKind::automatic, .gpsdPort = gpsd.port()});
    EXPECT_FALSE(runUntil([&] { return !session.failures.empty(); }, 3500ms));
    EXPECT_EQ(session.condition().code, "user-asked");
    EXPECT_EQ(session.condition().state, SourceState::starting);
    geoClue.fail(SD_BUS_ERROR_ACCESS_DENIED);
    EXPECT_TRUE(runUntil([&] { return !session.failures.empty(); }));
    EXPECT_THAT(session.statuses, ElementsAre(0, 2));
}

} // namespace
} // namespace AmbrelKit::Linux
