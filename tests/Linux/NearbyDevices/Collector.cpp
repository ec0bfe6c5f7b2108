#include "tests/Linux/NearbyDevices/Collector.hpp"

#include <arpa/inet.h>
#include <array>

using namespace AmbrelKit;

std::string described(const std::string& record) {
    const bool ipv4 = record.size() == 16 && record[1] == AF_INET;
    const bool ipv6 = record.size() == 28 && record[1] == AF_INET6;
    if (!ipv4 && !ipv6) {
        return "?";
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    inet_ntop(record[1], record.data() + (ipv4 ? 4 : 8), text.data(), text.size());
    return text.data();
}

void Collector::netServiceBrowserDidFindService(NetServiceBrowser& /*browser*/,
                                                const std::shared_ptr<NetService>& service,
                                                bool /*moreComing*/) {
    found.push_back(service->name());
    service->setDelegate(weak_from_this());
    service->resolveWithTimeout(0);
    services.insert(service);
    if (whenFound) {
        whenFound();
    }
}

void Collector::netServiceDidResolveAddress(NetService& service) {
    std::string line = service.name();
    for (const std::string& record : service.addresses().value_or(std::vector<std::string>{})) {
        line += " " + described(record);
    }
    resolved.push_back(line);
    if (whenResolved) {
        whenResolved();
    }
}

std::shared_ptr<NetServiceBrowser> Collector::search(const NetServiceBrowserFactory& factory,
                                                     const std::string& type) {
    auto browser = factory();
    browser->setDelegate(weak_from_this());
    browser->searchForServicesOfType(type, "");
    return browser;
}
