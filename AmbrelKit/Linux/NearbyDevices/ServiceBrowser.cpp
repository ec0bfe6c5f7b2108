#include "AmbrelKit/Linux/NearbyDevices/ServiceBrowser.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

namespace AmbrelKit::Linux {

ServiceBrowser::ServiceBrowser(std::shared_ptr<EventLoop> loop, MDNSStack mdns,
                               std::shared_ptr<const Siblings> siblings)
    : loop_(std::move(loop)), mdns_(mdns), siblings_(std::move(siblings)) {}

std::shared_ptr<NetServiceBrowserDelegate> ServiceBrowser::delegate() const {
    return delegate_.lock();
}

void ServiceBrowser::setDelegate(std::weak_ptr<NetServiceBrowserDelegate> delegate) {
    delegate_ = std::move(delegate);
}

void ServiceBrowser::searchForServicesOfType(const std::string& type, const std::string& domain) {
    announced_.reset();
    searches_.clear();
    domain_ = avahiDomain(domain);
    if (type == allServiceTypes) {
        announced_ = AnnouncedServiceTypes::start(
            weakly(weak_from_this(), &ServiceBrowser::typeAppeared), domain, mdns_);
    } else if (const auto bare = avahiServiceType(type)) {
        search(*bare);
    }
}

void ServiceBrowser::search(const std::string& type) {
    const auto found = [](ServiceBrowser& self, const std::shared_ptr<NetService>& service) {
        if (const auto delegate = self.delegate_.lock()) {
            delegate->netServiceBrowserDidFindService(self, service, false);
        }
    };
    searches_.push_back(
        TypeSearch::start(loop_, mdns_, type, domain_, weakly(weak_from_this(), found)));
}

void ServiceBrowser::typeAppeared(const std::string& type) {
    const bool isSearched = siblings_->any([&](const ServiceBrowser& sibling) {
        return !sibling.announced_ && !sibling.searches_.empty() &&
               isSameName(sibling.searches_.front()->type(), type);
    });
    if (!isSearched) {
        search(type);
    }
}

} // namespace AmbrelKit::Linux
