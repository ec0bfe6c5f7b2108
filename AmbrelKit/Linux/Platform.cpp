#include "AmbrelKit/Linux/Platform.hpp"

#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Linux/Bluetooth/Bluetooth.hpp"
#include "AmbrelKit/Linux/Location/Location.hpp"
#include "AmbrelKit/Linux/NearbyDevices/NearbyDevices.hpp"
#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"

#include <utility>

namespace AmbrelKit {

namespace Linux {

namespace {

/// The default closure knows no interface name of a Linux machine.
void installNetworkQueries() {
    using Query = std::optional<std::string> (*)();
    const auto* const query = NetworkEnvironment::addressIPv4.target<Query>();
    if (query != nullptr && *query == &NetworkEnvironment::_addressIPv4) {
        NetworkEnvironment::addressIPv4 = addressIPv4;
    }
}

} // namespace

PlatformServices platformServices(const LocationOptions& location) {
    [[maybe_unused]] static const bool installed = (installNetworkQueries(), true);
    const auto loop = EventLoop::current();
    return {.bonjourServices = Bundle::main().bonjourServices(),
            .bluetoothManagerFactory = makeBluetoothManagerFactory(loop),
            .locationManagerFactory = makeLocationManagerFactory(loop, location),
            .netServiceBrowserFactory = makeNetServiceBrowserFactory(loop),
            .timerFactory =
                [loop](double interval, bool repeats, TimerTick tick) {
                    return loop->scheduledTimer(interval, repeats, std::move(tick));
                },
            .notificationCenter = NotificationCenter::default_(),
            .application = Application::shared()};
}

std::shared_ptr<AmbrelSDK> create(PlatformServices services) {
    return AmbrelSDK::create(
        std::move(services.bonjourServices), std::move(services.bluetoothManagerFactory),
        std::move(services.locationManagerFactory), std::move(services.netServiceBrowserFactory),
        std::move(services.timerFactory), std::move(services.notificationCenter),
        std::move(services.application));
}

} // namespace Linux

std::shared_ptr<AmbrelSDK> AmbrelSDK::create() { return Linux::create(Linux::platformServices()); }

} // namespace AmbrelKit
