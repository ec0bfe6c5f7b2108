#include "AmbrelKit/Linux/HostStatus.hpp"

#include "AmbrelKit/Linux/Bluetooth/AdapterWatch.hpp"
#include "AmbrelKit/Linux/Location/GeoClueWatch.hpp"
#include "AmbrelKit/Linux/Network/LinkWatch.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

class FollowingStatus final : public HostStatus,
                              public std::enable_shared_from_this<FollowingStatus> {
    using enum AmbrelPermissionStatus;

public:
    explicit FollowingStatus(std::function<void()> changed) : changed_(std::move(changed)) {}

    void follow(const std::shared_ptr<EventLoop>& loop);

    [[nodiscard]] AmbrelPermissionStatus bluetoothSettingStatus() const override {
        if (!adapters_ || !adapters_->facts().answered) {
            return unknown;
        }
        const auto isPowered = [](const auto& adapter) { return adapter.second; };
        return std::ranges::any_of(adapters_->facts().powered, isPowered) ? granted : denied;
    }

    [[nodiscard]] AmbrelPermissionStatus bluetoothPermissionStatus() const override {
        const auto permitted = adapters_ ? adapters_->facts().permitted : std::nullopt;
        return !permitted ? unknown : *permitted ? granted : denied;
    }

    [[nodiscard]] AmbrelPermissionStatus locationSettingStatus() const override {
        return geoClue_ && geoClue_->hasRefused() ? denied : locationPermissionStatus();
    }

    [[nodiscard]] AmbrelPermissionStatus locationPermissionStatus() const override {
        return geoClue_ && geoClue_->isPresent() ? granted : unknown;
    }

    [[nodiscard]] AmbrelPermissionStatus locationPrecisePermissionStatus() const override {
        return unknown;
    }

    [[nodiscard]] AmbrelPermissionStatus networkSettingStatus() const override {
        const auto isUp = links_->isUp();
        return !isUp ? unknown : *isUp ? granted : denied;
    }

    [[nodiscard]] AmbrelPermissionStatus networkPermissionStatus() const override {
        return granted;
    }

private:
    using Answers = std::array<AmbrelPermissionStatus, 5>; ///< those that change

    [[nodiscard]] Answers answers() const {
        return {bluetoothSettingStatus(), bluetoothPermissionStatus(), locationSettingStatus(),
                locationPermissionStatus(), networkSettingStatus()};
    }

    void factsChanged();

    std::function<void()> changed_;
    std::shared_ptr<SystemBus> bus_;
    std::shared_ptr<AdapterWatch> adapters_;
    std::shared_ptr<GeoClueWatch> geoClue_;
    std::unique_ptr<LinkWatch> links_;
    Answers told_{};
};

void FollowingStatus::follow(const std::shared_ptr<EventLoop>& loop) {
    const auto changed = [weak = weak_from_this()] {
        if (const auto status = weak.lock()) {
            status->factsChanged();
        }
    };
    bus_ = loop->shared<SystemBus>();
    adapters_ = AdapterWatch::start(bus_, changed);
    geoClue_ = GeoClueWatch::start(*loop, bus_, changed);
    links_ = std::make_unique<LinkWatch>(*loop, changed);
    told_ = answers();
}

void FollowingStatus::factsChanged() {
    if (bus_ && !bus_->wasConnected()) {
        adapters_.reset();
        geoClue_.reset();
        bus_.reset();
    }
    const auto before = std::exchange(told_, answers());
    if (before != told_ && changed_) {
        changed_();
    }
}

} // namespace

std::shared_ptr<HostStatus> HostStatus::start(std::function<void()> changed) {
    const auto status = std::make_shared<FollowingStatus>(std::move(changed));
    status->follow(EventLoop::current());
    return status;
}

} // namespace AmbrelKit::Linux
