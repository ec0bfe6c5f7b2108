#include "AmbrelKit/Linux/Location/DesktopId.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace AmbrelKit::Linux {
namespace {

TEST(DesktopId, IsWhatIsSaidMostExpressly) {
    EXPECT_EQ(desktopId({}), program_invocation_short_name) << "else GeoClue refuses";
    setenv("GIO_LAUNCHED_DESKTOP_FILE", "/usr/share/applications/org.example.launched.desktop", 1);
    setenv("GIO_LAUNCHED_DESKTOP_FILE_PID", "1", 1);
    EXPECT_EQ(desktopId({}), program_invocation_short_name) << "another process was launched";
    setenv("GIO_LAUNCHED_DESKTOP_FILE_PID", std::to_string(getpid()).c_str(), 1);
    EXPECT_EQ(desktopId({}), "org.example.launched");
    setenv("FLATPAK_ID", "org.example.flatpak", 1);
    EXPECT_EQ(desktopId({}), "org.example.flatpak");
    Bundle::main().setInfoDictionary(JSONDictionary{{"CFBundleIdentifier", "org.example.bundle"}});
    EXPECT_EQ(desktopId({}), "org.example.bundle");
    EXPECT_EQ(desktopId({.desktopId = "org.example.options"}), "org.example.options");
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

} // namespace
} // namespace AmbrelKit::Linux
