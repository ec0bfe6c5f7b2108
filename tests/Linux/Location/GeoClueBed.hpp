#ifndef AMBREL_TESTS_LINUX_LOCATION_GEOCLUEBED_HPP
#define AMBREL_TESTS_LINUX_LOCATION_GEOCLUEBED_HPP

#include "tests/Linux/Location/LocationBed.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/PrivateBus.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace AmbrelKit::Linux {

inline constexpr const char* geoClueService = "org.freedesktop.GeoClue2";

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
        sd_bus_call_method_async(bus_, nullptr, geoClueService, "/org/freedesktop/GeoClue2/Manager",
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
class GeoClueTest : public testing::Test {
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
        ASSERT_TRUE(runUntil([this] { return names().contains(geoClueService); }));
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

} // namespace AmbrelKit::Linux

#endif
