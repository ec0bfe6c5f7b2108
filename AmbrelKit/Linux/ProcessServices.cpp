#include "AmbrelKit/Linux/ProcessServices.hpp"

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"

namespace AmbrelKit::Linux {

namespace {

std::optional<std::string> stringOf(const std::optional<Text>& text) {
    return text ? std::optional(text->string()) : std::nullopt;
}

std::optional<Text> textOf(const std::optional<std::string>& string) {
    return string ? std::optional<Text>(*string) : std::nullopt;
}

} // namespace

ProcessServices ProcessServices::current() {
    return {.currentDate = Environment::shared().currentDate,
            .addressIPv4 = NetworkEnvironment::shared().addressIPv4,
            .availableNetworks = [query = NetworkEnvironment::shared().availableNetworks] {
                std::vector<JoinedNetwork> networks;
                for (const WifiNetworkHost& host : query()) {
                    networks.push_back({.interface = host.interface.string(),
                                        .ssid = stringOf(host.ssid),
                                        .bssid = stringOf(host.bssid)});
                }
                return networks;
            }};
}

void ProcessServices::install() const {
    Environment::shared().currentDate = currentDate;
    NetworkEnvironment::shared().addressIPv4 = addressIPv4;
    NetworkEnvironment::shared().availableNetworks = [query = availableNetworks] {
        std::vector<WifiNetworkHost> hosts;
        for (const JoinedNetwork& network : query()) {
            hosts.push_back({.interface = network.interface,
                             .ssid = textOf(network.ssid),
                             .bssid = textOf(network.bssid)});
        }
        return hosts;
    };
}

} // namespace AmbrelKit::Linux
