#include "AmbrelKit/Linux/Bluetooth/CentralManager.hpp"

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

bool isSet(const JSONDictionary& options, const char* name) {
    const auto option = options.find(name);
    return option != options.end() && option->second == true;
}

} // namespace

CentralManager::CentralManager(std::shared_ptr<EventLoop> loop)
    : loop_(std::move(loop)), board_(loop_->shared<LoopBoard>()) {}

CentralManager::~CentralManager() {
    if (blueZ_) {
        blueZ_->unfollow(weak_from_this());
    }
}

std::shared_ptr<BluetoothCentralManagerDelegate> CentralManager::delegate() const {
    return delegate_.lock();
}

void CentralManager::setDelegate(std::weak_ptr<BluetoothCentralManagerDelegate> delegate) {
    delegate_ = std::move(delegate);
    announcement_.reset();
    followAsNeeded();
    if (blueZ_ && !delegate_.expired()) {
        announcement_ = loop_->deferral([this] { blueZStateChanged(); });
        announcement_->schedule();
    }
}

void CentralManager::scanForPeripheralsWithServices(
    const std::optional<std::vector<UUID>>& services,
    const std::optional<JSONDictionary>& options) {
    if (scanning_) {
        return;
    }
    scanning_ = true;
    services_ = services;
    givesAdvertisementData_ = options && isSet(*options, advertisementDataOption);
    followAsNeeded();
    blueZ_->wantsChanged();
}

void CentralManager::stopScan() {
    if (!scanning_) {
        return;
    }
    scanning_ = false;
    blueZ_->wantsChanged();
    followAsNeeded();
}

void CentralManager::followAsNeeded() {
    const bool needed = scanning_ || !delegate_.expired();
    if (needed && !blueZ_) {
        blueZ_ = loop_->shared<BlueZ>();
        blueZ_->follow(weak_from_this());
    } else if (!needed && blueZ_) {
        std::exchange(blueZ_, nullptr)->unfollow(weak_from_this());
    }
}

void CentralManager::blueZStateChanged() {
    const auto keep = shared_from_this();
    if (!blueZ_ || blueZ_->state() == BluetoothManagerState::unknown) {
        return;
    }
    announcement_.reset();
    state_ = blueZ_->state();
    if (const auto delegate = delegate_.lock()) {
        delegate->centralManagerDidUpdateState(*this);
    }
}

void CentralManager::blueZHeard(const BlueZDevice& device) {
    const auto advertises = [&](const UUID& service) {
        const auto& advertised = device.advertisement.services;
        return std::ranges::find(advertised, service) != advertised.end();
    };
    if (!scanning_ || (services_ && std::ranges::none_of(*services_, advertises))) {
        return;
    }
    const auto keep = shared_from_this();
    if (const auto delegate = delegate_.lock()) {
        board_->count(Source::bluetooth);
        JSONDictionary data;
        if (givesAdvertisementData_) {
            data = device.advertisement.dictionary();
        }
        delegate->centralManagerDidDiscoverPeripheral(*this, device.peripheral, data, *device.rssi);
    }
}

} // namespace AmbrelKit::Linux
