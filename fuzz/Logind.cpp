// What a logind, or whoever has its name on the bus, may say to a host that delays sleep.

#include "AmbrelKit/Linux/Lifecycle/Logind.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"
#include "fuzz/support/FuzzedBus.hpp"
#include "fuzz/support/VirtualTime.hpp"

#include <nlohmann/json.hpp>
#include <unistd.h>

namespace {

using namespace AmbrelKit;

const std::vector<std::string> words = {
    "/org/freedesktop/login1",
    "/org/freedesktop/login1/session/_31",
    "/org/freedesktop/login1/session/c2",
    "/org/freedesktop/login1/user/_" + std::to_string(getuid()),
    "/",
    "org.freedesktop.login1.Manager",
    "org.freedesktop.login1.Session",
    "org.freedesktop.login1.User",
    "org.freedesktop.DBus.Properties",
    "PrepareForSleep",
    "PropertiesChanged",
    "h",
    "o",
    "b",
    "v",
    "s",
    "(so)",
    "a{sv}",
    "sa{sv}as",
    "as",
    "Active",
    "State",
    "Display",
    "active",
    "closing",
    "org.freedesktop.DBus.Error.AccessDenied",
    "org.freedesktop.login1.NoSessionForPID",
    "\uFFFE",
};

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto& bus = *new FuzzedBus(words);
    const VirtualTime time;
    bus.begin();
    {
        const auto sources = Linux::sourceReports();
        int expired = 0;
        const auto delay = Linux::EventLoop::current()->shared<Linux::Logind>()->delaySleep(
            "fuzzing", [&] { ++expired; });
        bus.play({data, size});
        check(expired <= 1);
        writeJSON(dictionary(*sources));
    }
    bus.end();
    return 0;
}
