#include "AmbrelKit/Linux/NearbyDevices/FoundService.hpp"

#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr std::chrono::seconds ipv4Patience{1};
constexpr unsigned mostDoublings = 5;

std::chrono::steady_clock::time_point later(std::chrono::duration<double> delay) {
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::nanoseconds>(delay);
}

} // namespace

FoundService::FoundService(std::shared_ptr<EventLoop> loop, ServiceName service, int interface)
    : loop_(std::move(loop)), service_(std::move(service)), interfaces_{interface} {}

FoundService::~FoundService() {
    if (discovery_) {
        discovery_->remove(weak_from_this());
    }
}

std::shared_ptr<NetServiceDelegate> FoundService::delegate() const { return delegate_.lock(); }

void FoundService::setDelegate(std::weak_ptr<NetServiceDelegate> delegate) {
    delegate_ = std::move(delegate);
}

std::string FoundService::name() const { return repairedUTF8(service_.name); }

std::string FoundService::type() const { return service_.type + "."; }

std::optional<std::vector<std::string>> FoundService::addresses() const {
    return record_ ? std::optional(addresses_) : std::nullopt;
}

std::optional<std::string> FoundService::TXTRecordData() const {
    return record_ ? record_->txt : std::nullopt;
}

void FoundService::seenOn(int interface) {
    if (std::find(interfaces_.begin(), interfaces_.end(), interface) != interfaces_.end()) {
        return;
    }
    const bool loopbackIsLast = interfaces_.back() == loopbackInterface;
    interfaces_.insert(loopbackIsLast ? interfaces_.end() - 1 : interfaces_.end(), interface);
    // The address that is valid on the loopback is of no use to anybody else.
    if (askedOn_ == loopbackInterface) {
        begin();
    }
}

void FoundService::resolveWithTimeout(double seconds) {
    begin();
    limit_.reset();
    if (seconds > 0) {
        limit_ = loop_->deadline([weak = weak_from_this()] {
            if (const auto service = weak.lock()) {
                service->end();
                service->askedOn_ = 0;
            }
        });
        limit_->arm(later(std::chrono::duration<double>(seconds)));
    }
}

void FoundService::begin() {
    if (!discovery_) {
        discovery_ = loop_->shared<ServiceDiscovery>();
        discovery_->add(weak_from_this());
        next_ = loop_->deadline([weak = weak_from_this()] {
            if (const auto service = weak.lock()) {
                service->ipv4_ ? service->askAddress(AF_INET6) : service->ask();
            }
        });
    }
    failures_ = 0;
    reported_ = false;
    ask();
}

void FoundService::end() {
    forgetLookups();
    next_.reset();
    limit_.reset();
    if (discovery_) {
        discovery_->remove(weak_from_this());
        discovery_.reset();
    }
}

void FoundService::stackChanged() { ask(); }

void FoundService::forgetLookups() {
    lookup_.reset();
    ipv4_.reset();
    ipv6_.reset();
    found_.clear();
    askedIPv6_ = false;
}

void FoundService::ask() {
    forgetLookups();
    next_->disarm();
    const auto stack = discovery_->stack();
    if (!stack) {
        return;
    }
    askedOn_ = interfaces_[failures_ % interfaces_.size()];
    const bool withTXT = failures_ % 2 == 0;
    lookup_ = stack->resolve(service_, askedOn_, withTXT,
                             [weak = weak_from_this()](const std::optional<ServiceRecord>& record) {
                                 if (const auto service = weak.lock()) {
                                     service->served(record);
                                 }
                             });
    if (!lookup_) {
        askLater();
    }
}

void FoundService::askLater() {
    forgetLookups();
    const std::chrono::seconds delay(1U << std::min(failures_, mostDoublings));
    ++failures_;
    next_->arm(later(delay));
}

void FoundService::served(const std::optional<ServiceRecord>& record) {
    lookup_.reset();
    if (!record) {
        askLater();
        return;
    }
    target_ = *record;
    next_->arm(later(ipv4Patience));
    askAddress(AF_INET);
}

void FoundService::askAddress(int family) {
    askedIPv6_ = family == AF_INET6;
    auto& lookup = family == AF_INET ? ipv4_ : ipv6_;
    lookup = discovery_->stack()->findAddress(
        target_.host, askedOn_, family,
        [weak = weak_from_this(), family](const std::optional<HostAddress>& address) {
            if (const auto service = weak.lock()) {
                service->addressed(family, address);
            }
        });
    if (!lookup) {
        noAddress();
    }
}

void FoundService::addressed(int family, const std::optional<HostAddress>& address) {
    (family == AF_INET ? ipv4_ : ipv6_).reset();
    if (!address) {
        noAddress();
        return;
    }
    const auto place = family == AF_INET ? found_.begin() : found_.end();
    found_.insert(place, socketAddressRecord(*address, target_.port, askedOn_));
    record_ = target_;
    addresses_ = found_;
    reported_ = true;
    if (!ipv4_) {
        end();
    }
    report();
}

/// One kind of address was not to be had.
void FoundService::noAddress() {
    if (ipv4_ || ipv6_) {
        return;
    }
    if (!askedIPv6_) {
        next_->disarm();
        askAddress(AF_INET6);
    } else if (reported_) {
        end();
    } else {
        askLater();
    }
}

void FoundService::report() {
    const auto self = shared_from_this();
    if (const auto delegate = delegate_.lock()) {
        delegate->netServiceDidResolveAddress(*self);
    }
}

} // namespace AmbrelKit::Linux
