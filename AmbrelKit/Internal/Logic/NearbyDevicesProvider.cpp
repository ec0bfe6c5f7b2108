#include "AmbrelKit/Internal/Logic/NearbyDevicesProvider.hpp"

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <arpa/inet.h>
#include <array>
#include <utility>

namespace AmbrelKit {

namespace {

// A socket address in the BSD layout.
constexpr std::size_t familyOffset = 1;
constexpr std::size_t addressOffset = 4;
constexpr std::size_t shortestIPv4Record = 16;
constexpr unsigned char familyIPv4 = 2;

std::optional<std::string> dottedDecimal(const std::string& record) {
    if (record.size() < shortestIPv4Record ||
        static_cast<unsigned char>(record[familyOffset]) != familyIPv4) {
        return std::nullopt;
    }
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &record[addressOffset], text.data(), text.size());
    return text.data();
}

/// The first IPv4 address of a service.
std::optional<Text> addressIPv4(const NetService& service) {
    const auto addresses = service.addresses();
    if (!addresses) {
        return std::nullopt;
    }
    for (const std::string& record : *addresses) {
        if (auto text = dottedDecimal(record)) {
            return *std::move(text);
        }
    }
    return std::nullopt;
}

/// The keys of a TXT record whose values are texts.
std::map<Text, Text> dictFromTXTRecord(std::string_view record) {
    std::map<Text, Text> dict;
    for (const auto& [key, value] : NetService::dictionaryFromTXTRecordData(record)) {
        if (isValidUTF8(value)) {
            dict.emplace(key, value);
        }
    }
    return dict;
}

} // namespace

NearbyDevicesProvider::NearbyDevicesProvider(
    std::optional<std::vector<std::string>> bonjourServices,
    NetServiceBrowserFactory netServiceBrowserFactory)
    : bonjourServices_(std::move(bonjourServices)),
      netServiceBrowserFactory_(std::move(netServiceBrowserFactory)) {}

void NearbyDevicesProvider::setDelegate(std::weak_ptr<NearbyDevicesProviderDelegate> delegate) {
    delegate_ = std::move(delegate);
}

void NearbyDevicesProvider::start() {
    if (!bonjourServices_) {
        return;
    }
    for (const std::string& type : *bonjourServices_) {
        const auto browser = netServiceBrowserFactory_();
        browsers_.insert(browser);
        browser->setDelegate(weak_from_this());
        browser->searchForServicesOfType(type, "");
    }
}

void NearbyDevicesProvider::stop() {
    for (const auto& browser : std::exchange(browsers_, {})) {
        browser->setDelegate({});
    }
    for (const auto& service : std::exchange(services_, {})) {
        service->setDelegate({});
    }
}

void NearbyDevicesProvider::netServiceBrowserDidFindService(
    NetServiceBrowser& /*browser*/, const std::shared_ptr<NetService>& service,
    bool /*moreComing*/) {
    service->setDelegate(weak_from_this());
    service->resolveWithTimeout(0.0);
    services_.insert(service);
}

void NearbyDevicesProvider::netServiceDidResolveAddress(NetService& service) {
    const auto record = service.TXTRecordData();
    const NearbyDevice device{.name = service.name(),
                              .protocolType = service.type(),
                              .addressIPv4 = addressIPv4(service),
                              .txtRecord =
                                  record ? std::optional(dictFromTXTRecord(*record)) : std::nullopt,
                              .timestamp = Environment::shared().currentDate()};
    if (const auto delegate = delegate_.lock()) {
        delegate->didFindNearbyDevice(device);
    }
}

} // namespace AmbrelKit
