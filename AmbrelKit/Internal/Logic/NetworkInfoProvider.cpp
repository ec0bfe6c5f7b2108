#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"

#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <array>
#include <ifaddrs.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <utility>

namespace AmbrelKit {

namespace {

bool isInternetNetwork(const ifaddrs& entry) {
    return entry.ifa_name != nullptr && entry.ifa_addr != nullptr &&
           entry.ifa_addr->sa_family == AF_INET && InterfaceNames::supported(entry.ifa_name);
}

std::string ipAddress(const ifaddrs& entry) {
    std::array<char, NI_MAXHOST> host{};
    getnameinfo(entry.ifa_addr, sizeof(sockaddr_in), host.data(), host.size(), nullptr, 0,
                NI_NUMERICHOST);
    return repairedUTF8(host.data());
}

/// The interfaces that can be asked; empty unless all of them are texts.
std::vector<std::string> interfaceNames() {
    const auto interfaces = CaptiveNetwork::shared().supportedInterfaces();
    if (!interfaces || !interfaces->is_array() ||
        !std::all_of(interfaces->begin(), interfaces->end(),
                     [](const JSONValue& name) { return name.is_string(); })) {
        return {};
    }
    return interfaces->get<std::vector<std::string>>();
}

std::optional<Text> textUnder(std::string_view key, const JSONValue& info) {
    const auto found = info.find(key);
    if (found == info.end() || !found->is_string()) {
        return std::nullopt;
    }
    return found->get_ref<const std::string&>();
}

std::optional<WifiNetworkHost> wifiNetworkHost(const std::string& interface,
                                               const std::optional<JSONValue>& currentNetworkInfo) {
    if (!currentNetworkInfo || !currentNetworkInfo->is_object()) {
        return std::nullopt;
    }
    return WifiNetworkHost{
        .interface = interface,
        .ssid = textUnder(CaptiveNetwork::networkInfoKeySSID, *currentNetworkInfo),
        .bssid = textUnder(CaptiveNetwork::networkInfoKeyBSSID, *currentNetworkInfo)};
}

} // namespace

bool InterfaceNames::supported(std::string_view name) {
    const auto holds = [name](const auto& names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    return holds(wifi) || holds(wired) || holds(cellular);
}

NetworkEnvironment& NetworkEnvironment::shared() {
    static auto& environment = *new NetworkEnvironment;
    return environment;
}

CaptiveNetwork& CaptiveNetwork::shared() {
    static auto& network = *new CaptiveNetwork;
    return network;
}

std::optional<JSONValue> CaptiveNetwork::_supportedInterfaces() { return std::nullopt; }

std::optional<JSONValue> CaptiveNetwork::_currentNetworkInfo(const std::string& /*interface*/) {
    return std::nullopt;
}

std::optional<WifiNetwork> NetworkEnvironment::networkInfo() const {
    return WifiNetwork{.connectedDevices = availableNetworks()};
}

std::optional<std::string> NetworkEnvironment::_addressIPv4() {
    ifaddrs* list = nullptr;
    getifaddrs(&list);
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owned(list, freeifaddrs);
    return addressIPv4Among(list);
}

std::optional<std::string> NetworkEnvironment::addressIPv4Among(const ifaddrs* list) {
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (isInternetNetwork(*entry)) {
            return ipAddress(*entry);
        }
    }
    return std::nullopt;
}

std::vector<WifiNetworkHost> NetworkEnvironment::_availableNetworks() {
    std::vector<WifiNetworkHost> hosts;
    for (const std::string& interface : interfaceNames()) {
        if (auto host = wifiNetworkHost(interface,
                                        CaptiveNetwork::shared().currentNetworkInfo(interface))) {
            hosts.push_back(*std::move(host));
        }
    }
    return hosts;
}

} // namespace AmbrelKit
