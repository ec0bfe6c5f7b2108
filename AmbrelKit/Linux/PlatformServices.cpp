#include "AmbrelKit/Linux/PlatformServices.hpp"

#include "AmbrelKit/Linux/Bluetooth/BluetoothManagerFactory.hpp"
#include "AmbrelKit/Linux/Lifecycle/CollectionClock.hpp"
#include "AmbrelKit/Linux/Lifecycle/LinuxApplication.hpp"
#include "AmbrelKit/Linux/Location/LocationManagerFactory.hpp"
#include "AmbrelKit/Linux/NearbyDevices/NetServiceBrowserFactory.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "AmbrelKit/Linux/ThisMachine.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"

#include <utility>

namespace AmbrelKit {

namespace Linux {

PlatformServices platformServices(const LocationOptions& location, MDNSStack mdns) {
    answerForThisMachine();
    const auto loop = EventLoop::current();
    return {.bonjourServices = Bundle::main().bonjourServices(),
            .bluetoothManagerFactory = makeBluetoothManagerFactory(loop),
            .locationManagerFactory = makeLocationManagerFactory(loop, location),
            .netServiceBrowserFactory = makeNetServiceBrowserFactory(loop, mdns),
            .timerFactory =
                loop->shared<LoopBoard>()->collectionTimers(CollectionClock::shared().timerFactory(
                    [loop](double interval, bool repeats, TimerTick tick) {
                        return loop->scheduledTimer(interval, repeats, std::move(tick));
                    })),
            .notificationCenter = NotificationCenter::default_(),
            .application = makeApplication()};
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
