// What a GeoClue, or whoever has its name on the bus, may say to a manager that wants locations.

#include "AmbrelKit/Linux/Location/LocationManagerFactory.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "fuzz/support/FuzzedBus.hpp"
#include "fuzz/support/VirtualTime.hpp"

#include <cmath>
#include <nlohmann/json.hpp>

namespace {

using namespace AmbrelKit;

bool isFinite(const std::optional<double>& number) { return !number || std::isfinite(*number); }

struct Receiver final : LocationManagerDelegate {
    void locationManagerDidChangeAuthorizationStatus(LocationManager& manager,
                                                     LocationAuthorizationStatus status) override {
        if (status == LocationAuthorizationStatus::authorizedWhenInUse) {
            manager.startUpdatingLocation();
        }
    }
    void locationManagerDidUpdateLocations(LocationManager& /*manager*/,
                                           const std::vector<LocationFix>& fixes) override {
        check(!fixes.empty());
        for (const LocationFix& fix : fixes) {
            check(std::abs(fix.coordinate.latitude) <= 90 &&
                  std::abs(fix.coordinate.longitude) <= 180 && isFinite(fix.horizontalAccuracy) &&
                  isFinite(fix.altitude) && isFinite(fix.verticalAccuracy));
        }
    }
    void locationManagerDidFailWithError(LocationManager& /*manager*/,
                                         const std::string& error) override {
        check(isValidUTF8(error) && !error.empty());
    }
};

const std::vector<std::string> words = {
    "/org/freedesktop/GeoClue2/Client/1",
    "/org/freedesktop/GeoClue2/Client/1/Location/0",
    "/",
    "org.freedesktop.GeoClue2.Client",
    "org.freedesktop.GeoClue2.Location",
    "org.freedesktop.DBus.Properties",
    "LocationUpdated",
    "PropertiesChanged",
    "o",
    "oo",
    "a{sv}",
    "sa{sv}as",
    "as",
    "s",
    "d",
    "b",
    "u",
    "v",
    "(tt)",
    "Latitude",
    "Longitude",
    "Accuracy",
    "Altitude",
    "Timestamp",
    "Description",
    "Active",
    "org.freedesktop.DBus.Error.AccessDenied",
    "org.freedesktop.DBus.Error.ServiceUnknown",
    "org.freedesktop.DBus.Error.NoReply",
    "org.freedesktop.GeoClue2",
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
        const auto receiver = std::make_shared<Receiver>();
        const auto manager = Linux::makeLocationManagerFactory(
            Linux::EventLoop::current(),
            {.source = Linux::LocationSourceKind::geoClue, .desktopId = "fuzzer"})();
        manager->setDelegate(receiver);
        manager->requestWhenInUseAuthorization();
        bus.play({data, size});
        writeJSON(dictionary(*sources));
    }
    bus.end();
    return 0;
}
