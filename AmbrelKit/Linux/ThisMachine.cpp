#include "AmbrelKit/Linux/ThisMachine.hpp"

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Linux/Lifecycle/CollectionClock.hpp"
#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "AmbrelKit/Linux/Network/Wireless.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

std::optional<JSONValue> currentNetworkInfo(const std::string& interface) {
    const auto network = association(interface);
    if (!network) {
        return std::nullopt;
    }
    JSONDictionary info;
    info.emplace(CaptiveNetwork::networkInfoKeyBSSID, network->bssid);
    if (network->ssid) {
        info.emplace(CaptiveNetwork::networkInfoKeySSID, *network->ssid);
    }
    return info;
}

/// Has the board of this thread's loop know what a tick is answered.
void tell(Source source, SourceCondition condition, bool isReport) {
    EventLoop::current()->shared<LoopBoard>()->answer(source, std::move(condition), isReport);
}

std::optional<std::string> addressIPv4(Interfaces& interfaces) {
    auto [address, condition] = interfaces.addressIPv4();
    tell(Source::address, std::move(condition), address.has_value());
    return std::move(address);
}

/// `stations` are those that the asking has found.
std::vector<WifiNetworkHost> availableNetworks(const std::vector<std::string>& stations) {
    auto networks = NetworkEnvironment::_availableNetworks();
    tell(Source::wifi,
         networks.empty() ? withoutNetwork(stations)
                          : listening(std::string(networks[0].interface.string())),
         !networks.empty());
    return networks;
}

/// Replaces a closure that still is its default.
template <class Closure, class Original, class Replacement>
void install(Closure& closure, Original original, Replacement replacement) {
    const auto* const held = closure.template target<Original>();
    if (held != nullptr && *held == original) {
        closure = std::move(replacement);
    }
}

/// The default clock may be set while a collection runs; the default queries know no interface name
/// of a Linux machine, and no radio.
void installForProcess() {
    auto& network = NetworkEnvironment::shared();
    auto& captive = CaptiveNetwork::shared();
    install(Environment::shared().currentDate, &std::chrono::system_clock::now,
            [] { return CollectionClock::shared().now(); });
    install(network.addressIPv4, NetworkEnvironment::_addressIPv4,
            [interfaces = std::make_shared<Interfaces>()] { return addressIPv4(*interfaces); });
    const auto stations = std::make_shared<std::vector<std::string>>();
    install(network.availableNetworks, NetworkEnvironment::_availableNetworks,
            [stations] { return availableNetworks(*stations); });
    install(captive.supportedInterfaces, CaptiveNetwork::_supportedInterfaces,
            [stations]() -> std::optional<JSONValue> { return *stations = wirelessStations(); });
    install(captive.currentNetworkInfo, CaptiveNetwork::_currentNetworkInfo, currentNetworkInfo);
}

} // namespace

void answerForThisMachine() {
    [[maybe_unused]] static const bool installed = (installForProcess(), true);
}

} // namespace AmbrelKit::Linux
