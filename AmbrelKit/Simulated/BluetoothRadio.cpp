#include "AmbrelKit/Simulated/BluetoothRadio.hpp"

#include <nlohmann/json.hpp>
#include <utility>

namespace AmbrelKit::Simulated {

class BluetoothRadio::Manager final : public BluetoothCentralManager {
public:
    explicit Manager(std::shared_ptr<Context> context) : context_(std::move(context)) {}

    [[nodiscard]] std::shared_ptr<BluetoothCentralManagerDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<BluetoothCentralManagerDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }

    [[nodiscard]] BluetoothManagerState state() const override { return state_; }
    void setState(BluetoothManagerState state) { state_ = state; }

    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& /*services*/,
                                        const std::optional<JSONDictionary>& /*options*/) override {
        context_->report("bluetooth", "scanForPeripheralsWithServices");
    }

    void stopScan() override { context_->report("bluetooth", "stopScan"); }

private:
    std::shared_ptr<Context> context_;
    std::weak_ptr<BluetoothCentralManagerDelegate> delegate_;
    BluetoothManagerState state_ = BluetoothManagerState::unknown;
};

BluetoothRadio::BluetoothRadio(std::shared_ptr<Context> context) : context_(std::move(context)) {}

std::shared_ptr<BluetoothCentralManager> BluetoothRadio::makeManager() {
    context_->report("bluetooth", "create");
    auto manager = std::make_shared<Manager>(context_);
    newest_ = manager;
    return manager;
}

// Both reports hold the manager and its delegate: a receiver may let go of either.

void BluetoothRadio::reportState(BluetoothManagerState state) {
    const auto manager = newest_.lock();
    if (const auto delegate = manager ? manager->delegate() : nullptr) {
        manager->setState(state);
        delegate->centralManagerDidUpdateState(*manager);
    }
}

void BluetoothRadio::reportDiscovery(const Peripheral& peripheral,
                                     const JSONDictionary& advertisementData, int rssi) {
    const auto manager = newest_.lock();
    if (const auto delegate = manager ? manager->delegate() : nullptr) {
        delegate->centralManagerDidDiscoverPeripheral(*manager, peripheral, advertisementData,
                                                      rssi);
    }
}

} // namespace AmbrelKit::Simulated
