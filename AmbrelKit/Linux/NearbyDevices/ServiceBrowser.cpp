#include "AmbrelKit/Linux/NearbyDevices/ServiceBrowser.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

namespace AmbrelKit::Linux {

ServiceBrowser::ServiceBrowser(std::shared_ptr<EventLoop> loop) : loop_(std::move(loop)) {}

std::shared_ptr<NetServiceBrowserDelegate> ServiceBrowser::delegate() const {
    return delegate_.lock();
}

void ServiceBrowser::setDelegate(std::weak_ptr<NetServiceBrowserDelegate> delegate) {
    delegate_ = std::move(delegate);
}

void ServiceBrowser::searchForServicesOfType(const std::string& type, const std::string& domain) {
    search_.reset();
    known_.clear();
    const auto bare = avahiServiceType(type);
    type_ = bare.value_or("");
    domain_ = avahiDomain(domain);
    if (!bare) {
        return;
    }
    if (!discovery_) {
        discovery_ = loop_->shared<StackChoice>();
        discovery_->add(weak_from_this());
    }
    stackChanged();
}

void ServiceBrowser::stackChanged() {
    search_.reset();
    for (auto& [name, known] : known_) {
        known.places.clear();
    }
    const auto stack = discovery_->stack();
    if (stack && !type_.empty()) {
        search_ = stack->browse(type_, domain_, weakly(weak_from_this(), &ServiceBrowser::sighted));
    }
}

void ServiceBrowser::sighted(const Sighting& sighting) {
    const auto& [name, type, domain] = sighting.service;
    Known& known = known_[{name, domain}];
    if (!sighting.present) {
        known.places.erase({sighting.interface, sighting.protocol});
        known.present = !known.places.empty();
        return;
    }
    known.places.emplace(sighting.interface, sighting.protocol);
    auto service = known.service.lock();
    if (service) {
        service->seenOn(sighting.interface);
    } else if (!known.present) {
        service = FoundService::make(loop_, discovery_, {name, type_, domain}, sighting.interface);
        known.service = service;
    }
    const auto delegate = delegate_.lock();
    if (!std::exchange(known.present, true) && delegate) {
        delegate->netServiceBrowserDidFindService(*this, service, false);
    }
}

} // namespace AmbrelKit::Linux
