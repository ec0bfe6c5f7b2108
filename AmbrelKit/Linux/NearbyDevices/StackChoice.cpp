#include "AmbrelKit/Linux/NearbyDevices/StackChoice.hpp"

#include "AmbrelKit/Linux/NearbyDevices/EmbeddedAvahi.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

/// How long a bus may take to say whether there is a daemon.
constexpr std::chrono::milliseconds busPatience{500};

/// How long a daemon that went may take to come back.
constexpr std::chrono::seconds returnPatience{1};

} // namespace

StackChoice::StackChoice(const std::shared_ptr<EventLoop>& loop)
    : loop_(loop), bus_(SystemBus::make(loop)) {}

std::shared_ptr<StackChoice> StackChoice::make(const std::shared_ptr<EventLoop>& loop) {
    std::shared_ptr<StackChoice> discovery(new StackChoice(loop));
    discovery->patience_ = loop->deadline(weakly(
        discovery, [](StackChoice& self) { self.useEmbedded(AvahiDaemon::Standing::absent); }));
    discovery->patience_->arm(std::chrono::steady_clock::now() + busPatience);
    discovery->owner_ = NameWatch::start(discovery->bus_, "org.freedesktop.Avahi",
                                         weakly(discovery, &StackChoice::ownerChanged));
    return discovery;
}

void StackChoice::ownerChanged(const std::string& owner) {
    if (embedded_) {
        return;
    }
    const bool hadDaemon = stack_ != nullptr;
    use(nullptr);
    if (!owner.empty()) {
        daemon_ = AvahiDaemon::Standing::serving;
        patience_->disarm();
        use(AvahiDaemon::start(loop_, bus_, owner,
                               weakly(weak_from_this(), &StackChoice::useEmbedded)));
    } else if (hadDaemon) {
        daemon_ = AvahiDaemon::Standing::absent;
        patience_->arm(std::chrono::steady_clock::now() + returnPatience);
    } else {
        useEmbedded(AvahiDaemon::Standing::absent);
    }
}

void StackChoice::useEmbedded(AvahiDaemon::Standing since) {
    daemon_ = since;
    patience_->disarm();
    if (auto embedded = EmbeddedAvahi::start(loop_)) {
        embedded_ = true;
        use(std::move(embedded));
    }
}

void StackChoice::use(std::shared_ptr<DiscoveryStack> stack) {
    stack_ = std::move(stack);
    clients_.each([](Client& client) { client.stackChanged(); });
}

} // namespace AmbrelKit::Linux
