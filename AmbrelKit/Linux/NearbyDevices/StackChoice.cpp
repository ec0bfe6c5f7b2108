#include "AmbrelKit/Linux/NearbyDevices/StackChoice.hpp"

#include "AmbrelKit/Linux/NearbyDevices/EmbeddedAvahi.hpp"
#include "AmbrelKit/Linux/NearbyDevices/MulticastNetwork.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

using Standing = AvahiDaemon::Standing;

constexpr const char* daemonName = "avahi-daemon";
constexpr const char* embeddedMeans = "embedded mDNS";

/// How long a bus may take to say whether there is a daemon.
constexpr std::chrono::milliseconds busPatience{500};

/// How long a daemon that went may take to come back.
constexpr std::chrono::seconds returnPatience{1};

} // namespace

StackChoice::StackChoice(const std::shared_ptr<EventLoop>& loop)
    : loop_(loop), bus_(SystemBus::make(loop)), board_(loop->shared<LoopBoard>()),
      network_(*loop, networkDoesMulticast, true, [this] { publish(); }) {}

StackChoice::~StackChoice() { board_->publish(Source::services, {}); }

std::shared_ptr<StackChoice> StackChoice::make(const std::shared_ptr<EventLoop>& loop) {
    std::shared_ptr<StackChoice> discovery(new StackChoice(loop));
    discovery->patience_ = loop->deadline(weakly(discovery, &StackChoice::useEmbedded));
    discovery->patience_->arm(std::chrono::steady_clock::now() + busPatience);
    discovery->owner_ = NameWatch::start(discovery->bus_, "org.freedesktop.Avahi",
                                         weakly(discovery, &StackChoice::ownerChanged));
    discovery->publish();
    return discovery;
}

void StackChoice::ownerChanged(const std::string& owner) {
    if (embedded_) {
        return;
    }
    daemonWent_ = stack_ != nullptr;
    daemon_.reset();
    use(nullptr);
    if (!owner.empty()) {
        daemon_ = Standing::asked;
        patience_->disarm();
        use(AvahiDaemon::start(loop_, bus_, owner,
                               weakly(weak_from_this(), &StackChoice::daemonStands)));
        publish();
    } else if (daemonWent_) {
        patience_->arm(std::chrono::steady_clock::now() + returnPatience);
        publish();
    } else {
        useEmbedded();
    }
}

void StackChoice::daemonStands(Standing standing) {
    if (embedded_) {
        return;
    }
    daemon_ = standing;
    if (standing == Standing::silent || standing == Standing::refusing) {
        useEmbedded();
    } else {
        publish();
    }
}

void StackChoice::useEmbedded() {
    patience_->disarm();
    daemonWent_ = false;
    if (auto embedded = EmbeddedAvahi::start(loop_)) {
        embedded_ = true;
        use(std::move(embedded));
    } else {
        lacks_ = embeddedStackLacks().value_or(SourceReason::noDescriptors);
    }
    publish();
}

void StackChoice::use(std::shared_ptr<DiscoveryStack> stack) {
    stack_ = std::move(stack);
    clients_.each([](Client& client) { client.stackChanged(); });
}

SourceCondition StackChoice::condition() const {
    auto condition = embedded_     ? embeddedCondition()
                     : daemon_     ? daemonCondition()
                     : daemonWent_ ? owner_->absence(SourceReason::avahiStopped)
                     : lacks_      ? because(*lacks_)
                                   : SourceCondition{.state = SourceState::starting};
    const bool canHear = network_.isUp().value_or(true);
    return canHear || condition.state != SourceState::listening
               ? condition
               : because(SourceReason::noMulticastInterface);
}

SourceCondition StackChoice::embeddedCondition() const {
    return daemon_ == Standing::silent
               ? listening(embeddedMeans, SourceReason::daemonSilent, {daemonName})
               : listening(embeddedMeans);
}

SourceCondition StackChoice::daemonCondition() const {
    switch (*daemon_) {
    case Standing::serving:
        return listening(daemonName);
    case Standing::overdue:
    case Standing::silent:
        return because(SourceReason::daemonSilent, {daemonName});
    case Standing::refusing:
        return because(SourceReason::avahiRefuses);
    default:
        return {.state = SourceState::starting};
    }
}

} // namespace AmbrelKit::Linux
