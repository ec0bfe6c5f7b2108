#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_SERVICEBROWSER_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_SERVICEBROWSER_HPP

#include "AmbrelKit/Linux/NearbyDevices/AnnouncedServiceTypes.hpp"
#include "AmbrelKit/Linux/NearbyDevices/TypeSearch.hpp"
#include "AmbrelKit/Platform/NetServiceBrowser.hpp"

#include <vector>

namespace AmbrelKit::Linux {

/// A search for services of one type, or of all that are announced. The latter leaves out what
/// another browser of the same factory searches for already: a host that lists a type beside
/// `allServiceTypes` hears of it once.
class ServiceBrowser final : public NetServiceBrowser,
                             public std::enable_shared_from_this<ServiceBrowser> {
public:
    using Siblings = WeakList<ServiceBrowser>;

    /// `siblings` are those of its factory.
    ServiceBrowser(std::shared_ptr<EventLoop> loop, MDNSStack mdns,
                   std::shared_ptr<const Siblings> siblings);

    [[nodiscard]] std::shared_ptr<NetServiceBrowserDelegate> delegate() const override;
    void setDelegate(std::weak_ptr<NetServiceBrowserDelegate> delegate) override;
    void searchForServicesOfType(const std::string& type, const std::string& domain) override;

private:
    void search(const std::string& type);
    void typeAppeared(const std::string& type);

    std::shared_ptr<EventLoop> loop_;
    MDNSStack mdns_;
    std::shared_ptr<const Siblings> siblings_;
    std::weak_ptr<NetServiceBrowserDelegate> delegate_;
    std::string domain_;
    std::shared_ptr<AnnouncedServiceTypes> announced_; ///< null with a type of its own
    std::vector<std::shared_ptr<TypeSearch>> searches_;
};

} // namespace AmbrelKit::Linux

#endif
