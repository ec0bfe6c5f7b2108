#ifndef AMBRELKIT_SIMULATED_PLATFORM_HPP
#define AMBRELKIT_SIMULATED_PLATFORM_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Simulated/BluetoothRadio.hpp"
#include "AmbrelKit/Simulated/Context.hpp"
#include "AmbrelKit/Simulated/Lifecycle.hpp"
#include "AmbrelKit/Simulated/LocationService.hpp"
#include "AmbrelKit/Simulated/NetworkState.hpp"
#include "AmbrelKit/Simulated/ServiceDiscovery.hpp"
#include "AmbrelKit/Simulated/Sources.hpp"
#include "AmbrelKit/Simulated/VirtualClock.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit::Simulated {

/// How a simulated platform begins.
struct PlatformSettings {
    /// The wall clock at virtual time 0, since 1970.
    std::chrono::nanoseconds start{};
    /// The identifiers that the kit gets for its records, in order. Then it gets
    /// 00000000-0000-4000-8000-000000000001, …2 and so on, whatever the list held.
    std::vector<UUID> identifiers;
};

/// A platform on which nothing happens but what it is told, in virtual time: for tests of a host,
/// and for replays.
///
///     Simulated::Platform platform;
///     const auto sdk = platform.createSDK(std::nullopt);
///     sdk->setDelegate(delegate); // one that grants Bluetooth
///     sdk->startScanningOnce();
///     platform.bluetooth().reportState(BluetoothManagerState::poweredOn);
///     platform.bluetooth().reportDiscovery({.identifier = identifier, .name = "Lamp"});
///     platform.clock().advanceBy(11s); // the delegate has its dictionary now
///
/// While it lives, the settings of the process are its own: the reuse threshold (30 again), the
/// clock, the identifier source and the sources of a tick's network state. They are what they were
/// before when it goes, so there may be several, of which the newest counts, but kits on different
/// ones must not run at once. Everything is used on one thread, also from callbacks of the kit;
/// what those throw leaves through the operation of the platform that led to them.
class Platform {
public:
    /// Begins at virtual time 0 with nothing around. Replaces the settings of the process.
    AMBRELKIT_API explicit Platform(PlatformSettings settings = {});
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    /// Silences the events, then restores the process's settings. Facades may outlive it.
    AMBRELKIT_API ~Platform();

    /// Who is told what the kit does from now on; empty for nobody.
    void setSink(EventSink sink) { context_->sink.swap(sink); } // what goes may use the platform

    /// What makes a facade of a platform's parts, as the designated constructor does.
    using MakeSDK = std::function<std::shared_ptr<AmbrelSDK>(
        std::optional<std::vector<std::string>> bonjourServices, BluetoothManagerFactory,
        LocationManagerFactory, NetServiceBrowserFactory, TimerFactory,
        std::shared_ptr<AmbrelKit::NotificationCenter>, std::shared_ptr<AmbrelKit::Application>)>;

    /// Has facades made so from now on, instead of by that constructor: what makes them may put
    /// something of its own between the platform and the kit.
    void setMakeSDK(MakeSDK makeSDK) { makeSDK_ = std::move(makeSDK); }

    /// A new facade on this platform.
    [[nodiscard]] AMBRELKIT_API std::shared_ptr<AmbrelSDK>
    createSDK(std::optional<std::vector<std::string>> bonjourServices);

    /// Lets time pass, and runs what is due.
    [[nodiscard]] VirtualClock& clock() { return *clock_; }
    /// The Bluetooth radio, whose state is unknown until it reports one.
    [[nodiscard]] BluetoothRadio& bluetooth() { return *bluetooth_; }
    /// Where the device is.
    [[nodiscard]] LocationService& location() { return *location_; }
    /// The DNS-SD services around. A `ServiceDiscovery` reports only what is searched for.
    [[nodiscard]] ServiceDiscovery& bonjour() { return *bonjour_; }
    /// Tells the kit of resumes.
    [[nodiscard]] NotificationCenter& notificationCenter() { return *notificationCenter_; }
    /// The background tasks.
    [[nodiscard]] Application& application() { return *application_; }
    /// The addresses, and the joined Wi-Fi.
    [[nodiscard]] NetworkState& network() { return *network_; }

    /// How the sources fare, and how they are to.
    [[nodiscard]] Sources& sources() { return *sources_; }

    /// A handle on how the sources fare, as `Linux::sourceReports` makes one for a machine.
    /// `changed` is called by the clock when time is advanced next, also by nothing, once for all
    /// that has changed, and once more for what it changes itself: one that does so each time keeps
    /// time from passing. The handle may outlive the platform.
    [[nodiscard]] AMBRELKIT_API std::shared_ptr<SourceReports>
    sourceReports(const std::function<void()>& changed = {});

    /// What a simulated object needs that a host adds.
    [[nodiscard]] const std::shared_ptr<Context>& context() const { return context_; }

private:
    std::shared_ptr<Context> context_;
    // Factories and closures that the kit keeps share these.
    std::shared_ptr<Sources> sources_;
    std::shared_ptr<VirtualClock> clock_;
    std::shared_ptr<BluetoothRadio> bluetooth_;
    std::shared_ptr<LocationService> location_;
    std::shared_ptr<ServiceDiscovery> bonjour_;
    std::shared_ptr<NotificationCenter> notificationCenter_;
    std::shared_ptr<Application> application_;
    std::shared_ptr<NetworkState> network_;
    std::shared_ptr<void> processSettings_;
    MakeSDK makeSDK_;
};

} // namespace AmbrelKit::Simulated

#endif
