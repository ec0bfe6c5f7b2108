// What an avahi-daemon, or whoever has its name on the bus, may say of services that are searched
// for and resolved.

#include "AmbrelKit/Linux/NearbyDevices/AnnouncedServiceTypes.hpp"
#include "AmbrelKit/Linux/NearbyDevices/NetServiceBrowserFactory.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"
#include "fuzz/support/CheckedServices.hpp"
#include "fuzz/support/FuzzedBus.hpp"
#include "fuzz/support/VirtualTime.hpp"

#include <nlohmann/json.hpp>

namespace {

using namespace AmbrelKit;

const std::vector<std::string> words = {
    "/Client1/ServiceBrowser1",
    "/Client1/ServiceBrowser2",
    "/",
    "org.freedesktop.Avahi.ServiceBrowser",
    "ItemNew",
    "ItemRemove",
    "Failure",
    "o",
    "iisssu",
    "iissssisqaayu",
    "iisisu",
    "i",
    "_ipp._tcp",
    "_ipp",
    "_tcp",
    "local",
    "printer.local",
    "192.0.2.7",
    "fe80::1",
    "txtvers=1",
    "org.freedesktop.Avahi.InvalidServiceTypeError",
    "org.freedesktop.Avahi.TimeoutError",
    "org.freedesktop.DBus.Error.AccessDenied",
    "org.freedesktop.DBus.Error.UnknownMethod",
    "\uFFFE",
};

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto& bus = *new FuzzedBus(words);
    Bytes input(data, size);
    const VirtualTime time;
    bus.begin();
    {
        const auto sources = Linux::sourceReports();
        const auto factory = Linux::makeNetServiceBrowserFactory(Linux::EventLoop::current(),
                                                                 Linux::MDNSStack::daemon);
        const CheckedServices services(
            input.byte() % 4 == 0 ? Linux::allServiceTypes : "_ipp._tcp.", factory);
        bus.play(input);
        writeJSON(dictionary(*sources));
    }
    bus.end();
    return 0;
}
