#include "AmbrelKit/Linux/NearbyDevices/StackChoice.hpp"

#include "AmbrelKit/Linux/NearbyDevices/EmbeddedAvahi.hpp"
#include "AmbrelKit/Linux/NearbyDevices/MulticastNetwork.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <array>
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

/// The choices that a loop has now, held by them.
class StackChoice::OfLoop final : public Standings {
public:
    using Standings::Standings;
    static std::shared_ptr<OfLoop> make(const std::shared_ptr<EventLoop>& loop) {
        return std::make_shared<OfLoop>(loop->shared<LoopBoard>(), Source::services);
    }

    std::array<std::weak_ptr<StackChoice>, 3> choices; ///< by what the host allows
};

StackChoice::StackChoice(const std::shared_ptr<EventLoop>& loop, MDNSStack allowed,
                         std::shared_ptr<OfLoop> ofLoop)
    : loop_(loop), allowed_(allowed), standings_(std::move(ofLoop)),
      network_(*loop, networkDoesMulticast, true, [this] { publish(); }) {}

StackChoice::~StackChoice() { standings_->leave(this); }

std::shared_ptr<StackChoice> StackChoice::of(const std::shared_ptr<EventLoop>& loop,
                                             MDNSStack allowed) {
    auto ofLoop = loop->shared<OfLoop>();
    auto& kept = ofLoop->choices.at(static_cast<std::size_t>(allowed));
    auto choice = kept.lock();
    if (!choice) {
        choice.reset(new StackChoice(loop, allowed, std::move(ofLoop)));
        kept = choice;
        choice->begin();
    }
    return choice;
}

void StackChoice::begin() {
    patience_ = loop_->deadline(weakly(weak_from_this(), &StackChoice::missDaemon));
    if (allowed_ == MDNSStack::embedded) {
        useEmbedded();
        return;
    }
    bus_ = SystemBus::make(loop_);
    patience_->arm(std::chrono::steady_clock::now() + busPatience);
    owner_ = NameWatch::start(bus_, "org.freedesktop.Avahi",
                              weakly(weak_from_this(), &StackChoice::ownerChanged));
    publish();
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
        missDaemon();
    }
}

void StackChoice::daemonStands(Standing standing) {
    if (embedded_) {
        return;
    }
    daemon_ = standing;
    if (standing != Standing::serving && standing != Standing::overdue) {
        missDaemon();
    } else {
        publish();
    }
}

/// There is none, it has not come back, or it is of no use.
void StackChoice::missDaemon() {
    if (allowed_ == MDNSStack::automatic) {
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
                     : allowed_ == MDNSStack::daemon
                         ? owner_->absence(SourceReason::avahiNotRunning)
                         : SourceCondition{.state = SourceState::starting};
    const bool canHear = network_.isUp().value_or(true);
    return canHear || condition.state != SourceState::listening
               ? condition
               : because(SourceReason::noMulticastInterface);
}

SourceCondition StackChoice::embeddedCondition() const {
    return daemon_ == Standing::silent
               ? listening(embeddedMeans, SourceReason::daemonSilent, {daemonName})
           : daemon_ == Standing::crowded ? listening(embeddedMeans, SourceReason::avahiCacheFull)
                                          : listening(embeddedMeans);
}

SourceCondition StackChoice::daemonCondition() const {
    switch (*daemon_) {
    case Standing::serving:
        return listening(daemonName);
    case Standing::crowded: {
        auto condition = listening(daemonName, SourceReason::avahiCacheFull);
        condition.isPartial = true;
        return condition;
    }
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
