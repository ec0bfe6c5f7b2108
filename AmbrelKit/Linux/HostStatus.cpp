#include "AmbrelKit/Linux/HostStatus.hpp"

#include "AmbrelKit/Linux/Bluetooth/AdapterWatch.hpp"
#include "AmbrelKit/Linux/Location/GeoClueWatch.hpp"
#include "AmbrelKit/Linux/Network/LinkWatch.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <array>
#include <optional>
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
        return answer(adapters_ ? adapters_->isOn() : std::nullopt);
    }

    [[nodiscard]] AmbrelPermissionStatus bluetoothPermissionStatus() const override {
        return answer(adapters_ ? adapters_->isPermitted() : std::nullopt);
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
        return answer(links_->isUp());
    }

    [[nodiscard]] AmbrelPermissionStatus networkPermissionStatus() const override {
        return granted;
    }

private:
    using Answers = std::array<AmbrelPermissionStatus, 5>; ///< those that change

    static AmbrelPermissionStatus answer(std::optional<bool> is) {
        return !is ? unknown : *is ? granted : denied;
    }

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
    const auto changed = weakly(weak_from_this(), &FollowingStatus::factsChanged);
    bus_ = loop->shared<SystemBus>();
    adapters_ = AdapterWatch::start(loop, changed);
    geoClue_ = GeoClueWatch::start(*loop, bus_, changed);
    if (!adapters_ && !geoClue_) {
        bus_.reset(); // which would be looked for over and over, for nobody in this build
    }
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
