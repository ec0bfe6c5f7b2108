#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_SERVICEBROWSER_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_SERVICEBROWSER_HPP

#include "AmbrelKit/Linux/NearbyDevices/FoundService.hpp"
#include "AmbrelKit/Platform/NetServiceBrowser.hpp"

#include <map>
#include <set>
#include <utility>

namespace AmbrelKit::Linux {

/// A search for services of one type. Avahi reports a service once for each interface and protocol;
/// the delegate is told once, until the service has gone from all of them and comes again.
class ServiceBrowser final : public NetServiceBrowser,
                             public StackChoice::Client,
                             public std::enable_shared_from_this<ServiceBrowser> {
public:
    explicit ServiceBrowser(std::shared_ptr<EventLoop> loop);

    [[nodiscard]] std::shared_ptr<NetServiceBrowserDelegate> delegate() const override;
    void setDelegate(std::weak_ptr<NetServiceBrowserDelegate> delegate) override;
    void searchForServicesOfType(const std::string& type, const std::string& domain) override;

    void stackChanged() override;

private:
    struct Known {
        std::weak_ptr<FoundService> service;
        std::set<std::pair<int, int>> places; // interface and protocol
        bool present = false;                 // stays true when places are forgotten with a stack
    };

    void sighted(const Sighting& sighting);

    std::shared_ptr<EventLoop> loop_;
    std::weak_ptr<NetServiceBrowserDelegate> delegate_;
    std::string type_;
    std::string domain_;
    std::shared_ptr<StackChoice> discovery_;
    std::shared_ptr<Lookup> search_;
    std::map<std::pair<std::string, std::string>, Known> known_; // by name and domain
};

} // namespace AmbrelKit::Linux

#endif
