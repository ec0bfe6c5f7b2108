#include "AmbrelKit/Linux/NearbyDevices/FoundService.hpp"

#include "AmbrelKit/Linux/RunLoop/LoopTimer.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <array>
#include <net/if.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr std::chrono::seconds ipv4Patience{1};

constexpr Retry::Delays retryDelays{.first = std::chrono::seconds(1),
                                    .longest = std::chrono::seconds(32)};

} // namespace

FoundService::FoundService(std::shared_ptr<EventLoop> loop, std::shared_ptr<StackChoice> discovery,
                           ServiceName service, int interface)
    : loop_(std::move(loop)), discovery_(std::move(discovery)), service_(std::move(service)),
      order_(interface), interface_(interface) {}

std::shared_ptr<FoundService> FoundService::make(std::shared_ptr<EventLoop> loop,
                                                 std::shared_ptr<StackChoice> discovery,
                                                 ServiceName service, int interface) {
    std::shared_ptr<FoundService> found(
        new FoundService(std::move(loop), std::move(discovery), std::move(service), interface));
    found->discovery_->add(found);
    return found;
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

std::optional<std::string> FoundService::hostName() const {
    return record_ ? std::optional(repairedUTF8(record_->host)) : std::nullopt;
}

std::optional<std::string> FoundService::interface() const {
    std::array<char, IF_NAMESIZE> name{};
    return if_indextoname(static_cast<unsigned>(interface_), name.data()) != nullptr
               ? std::optional(repairedUTF8(name.data()))
               : std::nullopt;
}

void FoundService::seenOn(int interface) {
    if (order_.add(interface) && asked_.interface == loopbackInterface) {
        begin();
    }
}

void FoundService::resolveWithTimeout(double seconds) {
    limit_.reset();
    if (seconds > 0) {
        limit_ = loop_->deadline([this] {
            end();
            asked_ = {};
        });
        limit_->arm(std::chrono::steady_clock::now() + keepableInterval(seconds));
    }
    begin();
}

void FoundService::begin() {
    resolving_ = true;
    reported_ = false;
    retry_.reset();
    order_.restart();
    ask();
}

void FoundService::end() {
    resolving_ = false;
    forgetLookups();
    retry_.reset();
    limit_.reset();
}

void FoundService::stackChanged() {
    if (resolving_) {
        begin();
    }
}

void FoundService::forgetLookups() {
    lookup_.reset();
    ipv4Patience_.reset();
    ipv4_.reset();
    ipv6_.reset();
    found_.clear();
    askedIPv6_ = false;
}

/// Asks the next question, or puts all of them off.
void FoundService::ask() {
    forgetLookups();
    const auto& stack = discovery_->stack();
    if (!stack) {
        return;
    }
    while (const auto question = order_.next()) {
        asked_ = *question;
        lookup_ = stack->resolve(service_, asked_.interface, asked_.withTXT,
                                 weakly(weak_from_this(), &FoundService::served));
        if (lookup_) {
            return;
        }
    }
    if (reported_) {
        end();
        return;
    }
    if (!retry_) {
        retry_.emplace(*loop_, retryDelays, [this] { ask(); });
    }
    retry_->schedule();
}

void FoundService::served(const std::optional<ServiceRecord>& record) {
    if (!record) {
        ask();
        return;
    }
    lookup_.reset();
    target_ = *record;
    ipv4Patience_ = loop_->deadline([this] { askAddress(AF_INET6); });
    ipv4Patience_->arm(std::chrono::steady_clock::now() + ipv4Patience);
    askAddress(AF_INET);
}

void FoundService::askAddress(int family) {
    askedIPv6_ = family == AF_INET6;
    auto& lookup = family == AF_INET ? ipv4_ : ipv6_;
    lookup =
        discovery_->stack()->findAddress(target_.host, asked_.interface, family,
                                         weakly(weak_from_this(), [family](auto& self, auto found) {
                                             self.addressed(family, found);
                                         }));
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
    found_.insert(place, socketAddressRecord(*address, target_.port, asked_.interface));
    record_ = target_;
    addresses_ = found_;
    interface_ = asked_.interface;
    reported_ = true;
    if (!ipv4_) {
        reached();
    }
    report();
}

/// One kind of address was not to be had.
void FoundService::noAddress() {
    if (ipv4_ || ipv6_) {
        return;
    }
    if (!askedIPv6_) {
        ipv4Patience_.reset();
        askAddress(AF_INET6);
    } else if (!found_.empty()) {
        reached();
    } else {
        ask();
    }
}

/// This attempt has brought what it can. The answer to a question with the TXT record may have been
/// lost, not missing.
void FoundService::reached() {
    if (asked_.withTXT) {
        end();
    } else {
        order_.onlyWithTXT(asked_.interface);
        ask();
    }
}

void FoundService::report() {
    const auto self = shared_from_this();
    if (const auto delegate = delegate_.lock()) {
        discovery_->countAnswer();
        delegate->netServiceDidResolveAddress(*self);
    }
}

} // namespace AmbrelKit::Linux
