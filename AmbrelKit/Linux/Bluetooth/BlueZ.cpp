#include "AmbrelKit/Linux/Bluetooth/BlueZ.hpp"

#include "AmbrelKit/Linux/Bluetooth/AdapterObstacle.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <utility>

namespace AmbrelKit::Linux {

BlueZ::BlueZ(std::shared_ptr<EventLoop> loop)
    : loop_(std::move(loop)), bus_(loop_->shared<SystemBus>()), board_(loop_->shared<LoopBoard>()) {
}

std::shared_ptr<BlueZ> BlueZ::make(const std::shared_ptr<EventLoop>& loop) {
    std::shared_ptr<BlueZ> blueZ(new BlueZ(loop));
    blueZ->watch_ = NameWatch::start(blueZ->bus_, "org.bluez", weakly(blueZ, &BlueZ::ownerChanged));
    blueZ->board_->publish(Source::bluetooth, blueZ->condition());
    return blueZ;
}

BlueZ::~BlueZ() { board_->publish(Source::bluetooth, {}); }

void BlueZ::unfollow(const std::weak_ptr<BlueZFollower>& follower) {
    followers_.remove(follower);
    wantsChanged();
}

void BlueZ::wantsChanged() {
    if (life_.discovery) {
        const auto wantsScan = [](const BlueZFollower& follower) { return follower.wantsScan(); };
        life_.discovery->want(!life_.mayNotDiscover && followers_.any(wantsScan));
    }
    board_->publish(Source::bluetooth, condition());
}

void BlueZ::ownerChanged(const std::string& owner) {
    life_ = {};
    if (!owner.empty()) {
        const auto self = weak_from_this();
        life_.objects =
            BlueZObjects::follow(*loop_, bus_, owner,
                                 {.adaptersChanged = weakly(self, &BlueZ::adaptersChanged),
                                  .heard = weakly(self, &BlueZ::heard)});
    }
    update();
}

void BlueZ::adaptersChanged(std::string_view discovery) {
    wasThere_ |= life_.objects->areKnown() || life_.objects->areRefused();
    if (life_.discovery && life_.adapter == discovery) {
        life_.discovery->reported(life_.objects->adapters().at(life_.adapter).discovering);
    }
    update();
}

void BlueZ::discoveryChanged() {
    life_.mayNotDiscover |= life_.discovery->isDenied();
    update();
}

void BlueZ::heard(std::string_view path, const BlueZDevice& device) {
    const std::string& parent = life_.adapter;
    if (!parent.empty() && path.size() > parent.size() && path.starts_with(parent) &&
        path[parent.size()] == '/') {
        tellFollowers([&](BlueZFollower& follower) { follower.blueZHeard(device); });
    }
}

void BlueZ::update() {
    chooseAdapter();
    const auto before = std::exchange(state_, currentState());
    if (before != state_) {
        tellFollowers([](BlueZFollower& follower) { follower.blueZStateChanged(); });
    }
    wantsChanged();
}

void BlueZ::chooseAdapter() {
    if (!life_.objects) {
        return;
    }
    const auto& adapters = life_.objects->adapters();
    const auto used = adapters.find(life_.adapter);
    if (used != adapters.end() && used->second.powered) {
        return;
    }
    life_.adapter.clear();
    life_.discovery.reset();
    const auto powered =
        std::ranges::find_if(adapters, [](const auto& entry) { return entry.second.powered; });
    if (powered != adapters.end()) {
        life_.adapter = powered->first;
        life_.discovery = std::make_shared<Discovery>(
            *loop_, Discovery::Place{life_.objects->daemon(), powered->first},
            powered->second.discovering, weakly(weak_from_this(), &BlueZ::discoveryChanged));
    }
}

BluetoothManagerState BlueZ::currentState() const {
    using enum BluetoothManagerState;
    if (!life_.objects) {
        return wasThere_ ? resetting : unsupported;
    }
    if (life_.mayNotDiscover || life_.objects->areRefused()) {
        return unauthorized;
    }
    if (!life_.objects->areKnown()) {
        return wasThere_ ? resetting : state_;
    }
    if (life_.objects->adapters().empty()) {
        return unsupported;
    }
    return life_.adapter.empty() ? poweredOff : poweredOn;
}

SourceCondition BlueZ::condition() const {
    using enum SourceReason;
    if (!life_.objects) {
        return watch_->absence(blueZNotRunning);
    }
    if (life_.mayNotDiscover) {
        return because(blueZRefuses);
    }
    if (auto obstacle = adapterObstacle(*life_.objects)) {
        return *std::move(obstacle);
    }
    if (!life_.objects->areKnown()) {
        const std::string& failure = life_.objects->failure();
        return failure.empty() ? starting(daemonSilent, {"bluetooth"})
                               : starting(blueZFails, {failure});
    }
    if (!life_.discovery->isWanted()) {
        return {};
    }
    const std::string adapter = adapterName(life_.adapter);
    if (life_.discovery->isRunning()) {
        return listening("BlueZ, " + adapter);
    }
    const std::string& failure = life_.discovery->failure();
    return failure.empty() ? starting(daemonSilent, {"bluetooth"})
                           : because(discoveryFails, {adapter, failure});
}

template <class Tell> void BlueZ::tellFollowers(const Tell& tell) {
    followers_.each([&](BlueZFollower& follower) { loop_->guarded([&] { tell(follower); }); });
}

} // namespace AmbrelKit::Linux
