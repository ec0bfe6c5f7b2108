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
    if (entry.ifa_name == nullptr || entry.ifa_addr == nullptr ||
        entry.ifa_addr->sa_family != AF_INET) {
        return false;
    }
    const auto& names = InterfaceNames::supported();
    return std::find(names.begin(), names.end(), repairedUTF8(entry.ifa_name)) != names.end();
}

std::string ipAddress(const ifaddrs& entry) {
    std::array<char, NI_MAXHOST> host{};
    getnameinfo(entry.ifa_addr, sizeof(sockaddr_in), host.data(), host.size(), nullptr, 0,
                NI_NUMERICHOST);
    return repairedUTF8(host.data());
}

/// The interfaces that can be asked; empty unless all of them are texts.
std::vector<std::string> interfaceNames() {
    const auto interfaces = CaptiveNetwork::supportedInterfaces();
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

std::vector<std::string_view> joined(std::vector<std::string_view> names,
                                     const std::vector<std::string_view>& more) {
    names.insert(names.end(), more.begin(), more.end());
    return names;
}

} // namespace

const std::vector<std::string_view>& InterfaceNames::wifi() {
    static const std::vector<std::string_view> names{"en0", "en1"};
    return names;
}

const std::vector<std::string_view>& InterfaceNames::wired() {
    static const std::vector<std::string_view> names{"en2", "en3", "en4"};
    return names;
}

const std::vector<std::string_view>& InterfaceNames::cellular() {
    static const std::vector<std::string_view> names{"pdp_ip0", "pdp_ip1", "pdp_ip2", "pdp_ip3"};
    return names;
}

const std::vector<std::string_view>& InterfaceNames::supported() {
    static const std::vector<std::string_view> names = joined(joined(wifi(), wired()), cellular());
    return names;
}

std::function<std::optional<std::string>()> NetworkEnvironment::addressIPv4 = _addressIPv4;

std::function<std::vector<WifiNetworkHost>()> NetworkEnvironment::availableNetworks =
    _availableNetworks;

std::function<std::optional<JSONValue>()> CaptiveNetwork::supportedInterfaces =
    _supportedInterfaces;

std::function<std::optional<JSONValue>(const std::string&)> CaptiveNetwork::currentNetworkInfo =
    _currentNetworkInfo;

std::optional<JSONValue> CaptiveNetwork::_supportedInterfaces() { return std::nullopt; }

std::optional<JSONValue> CaptiveNetwork::_currentNetworkInfo(const std::string& /*interface*/) {
    return std::nullopt;
}

std::optional<WifiNetwork> NetworkEnvironment::networkInfo() {
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
        if (auto host = wifiNetworkHost(interface, CaptiveNetwork::currentNetworkInfo(interface))) {
            hosts.push_back(*std::move(host));
        }
    }
    return hosts;
}

} // namespace AmbrelKit
