#include "AmbrelKit/Linux/NearbyDevices/ServiceDiscovery.hpp"

#include "AmbrelKit/Linux/NearbyDevices/AvahiDaemon.hpp"
#include "AmbrelKit/Linux/NearbyDevices/EmbeddedAvahi.hpp"

#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

namespace {

/// How long a bus may take to say whether there is a daemon.
constexpr std::chrono::milliseconds busPatience{500};

/// How long a daemon that went may take to come back.
constexpr std::chrono::seconds returnPatience{1};

} // namespace

ServiceDiscovery::ServiceDiscovery(const std::shared_ptr<EventLoop>& loop)
    : loop_(loop), bus_(loop->shared<SystemBus>()) {}

std::shared_ptr<ServiceDiscovery> ServiceDiscovery::make(const std::shared_ptr<EventLoop>& loop) {
    std::shared_ptr<ServiceDiscovery> discovery(new ServiceDiscovery(loop));
    const std::weak_ptr weak(discovery);
    discovery->patience_ = loop->deadline([weak] {
        if (const auto discovery = weak.lock()) {
            discovery->useEmbedded();
        }
    });
    discovery->patience_->arm(std::chrono::steady_clock::now() + busPatience);
    discovery->owner_ = NameWatch::start(discovery->bus_, "org.freedesktop.Avahi",
                                         [weak](const std::string& owner) {
                                             if (const auto discovery = weak.lock()) {
                                                 discovery->ownerChanged(owner);
                                             }
                                         });
    return discovery;
}

void ServiceDiscovery::ownerChanged(const std::string& owner) {
    const bool embedded = stack_ && !onDaemon_;
    if (embedded) {
        return;
    }
    const bool hadDaemon = std::exchange(onDaemon_, !owner.empty());
    use(nullptr);
    if (onDaemon_) {
        patience_->disarm();
        use(AvahiDaemon::start(bus_, owner, [weak = weak_from_this()] {
            if (const auto discovery = weak.lock()) {
                discovery->useEmbedded();
            }
        }));
    } else if (hadDaemon) {
        patience_->arm(std::chrono::steady_clock::now() + returnPatience);
    } else {
        useEmbedded();
    }
}

void ServiceDiscovery::useEmbedded() {
    patience_->disarm();
    onDaemon_ = false;
    use(nullptr);
    use(EmbeddedAvahi::start(loop_));
}

void ServiceDiscovery::use(std::shared_ptr<DiscoveryStack> stack) {
    stack_ = std::move(stack);
    const std::vector clients(clients_.begin(), clients_.end());
    for (const auto& weak : clients) {
        if (const auto client = weak.lock()) {
            client->stackChanged();
        }
    }
}

} // namespace AmbrelKit::Linux
