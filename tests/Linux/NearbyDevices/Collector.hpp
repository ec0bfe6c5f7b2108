#ifndef AMBREL_TESTS_LINUX_NEARBYDEVICES_COLLECTOR_HPP
#define AMBREL_TESTS_LINUX_NEARBYDEVICES_COLLECTOR_HPP

#include "AmbrelKit/Platform/NetServiceBrowser.hpp"

#include <functional>
#include <set>

/// Resolves and keeps what browsers find, and writes down what it is told.
class Collector final : public AmbrelKit::NetServiceBrowserDelegate,
                        public AmbrelKit::NetServiceDelegate,
                        public std::enable_shared_from_this<Collector> {
public:
    void netServiceBrowserDidFindService(AmbrelKit::NetServiceBrowser& browser,
                                         const std::shared_ptr<AmbrelKit::NetService>& service,
                                         bool moreComing) override;
    void netServiceDidResolveAddress(AmbrelKit::NetService& service) override;

    std::shared_ptr<AmbrelKit::NetServiceBrowser>
    search(const AmbrelKit::NetServiceBrowserFactory& factory, const std::string& type);

    std::vector<std::string> found;
    std::vector<std::string> resolved; ///< "Printer 10.0.0.1" or "Printer ipv6"
    std::set<std::shared_ptr<AmbrelKit::NetService>> services;
    std::function<void()> whenFound;
    std::function<void()> whenResolved;
};

/// An address record in words.
std::string described(const std::string& record);

#endif
