// The smallest host: one collection of Bluetooth peripherals through the kit. Prints how many
// reports the kit was given and how many peripherals it delivered.

#include "AmbrelKit/Linux/Bluetooth/BluetoothManagerFactory.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

namespace {

using namespace AmbrelKit;

/// Stands between a manager and the kit, and counts.
class CountingManager final : public BluetoothCentralManager,
                              public BluetoothCentralManagerDelegate,
                              public std::enable_shared_from_this<CountingManager> {
public:
    explicit CountingManager(std::shared_ptr<BluetoothCentralManager> manager)
        : manager_(std::move(manager)) {}

    [[nodiscard]] std::shared_ptr<BluetoothCentralManagerDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<BluetoothCentralManagerDelegate> delegate) override {
        delegate_ = std::move(delegate);
        if (delegate_.expired()) {
            manager_->setDelegate({});
        } else {
            manager_->setDelegate(weak_from_this());
        }
    }
    [[nodiscard]] BluetoothManagerState state() const override { return manager_->state(); }
    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& services,
                                        const std::optional<JSONDictionary>& options) override {
        manager_->scanForPeripheralsWithServices(services, options);
    }
    void stopScan() override { manager_->stopScan(); }

    void centralManagerDidUpdateState(BluetoothCentralManager& /*manager*/) override {
        if (const auto delegate = delegate_.lock()) {
            delegate->centralManagerDidUpdateState(*this);
        }
    }
    void centralManagerDidDiscoverPeripheral(BluetoothCentralManager& /*manager*/,
                                             const Peripheral& peripheral,
                                             const JSONDictionary& advertisementData,
                                             int rssi) override {
        ++reports;
        if (const auto delegate = delegate_.lock()) {
            delegate->centralManagerDidDiscoverPeripheral(*this, peripheral, advertisementData,
                                                          rssi);
        }
    }

    static inline std::uint64_t reports = 0;

private:
    std::shared_ptr<BluetoothCentralManager> manager_;
    std::weak_ptr<BluetoothCentralManagerDelegate> delegate_;
};

class Host final : public AmbrelSDKDelegate {
public:
    explicit Host(RunLoop& loop) : loop_(loop) {}

    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override {
        std::printf("%llu %zu\n", static_cast<unsigned long long>(CountingManager::reports),
                    data.at("bleScan").size());
        loop_.stop();
    }
    AmbrelPermissionStatus bluetoothSettingStatus() override { return granted; }
    AmbrelPermissionStatus bluetoothPermissionStatus() override { return granted; }
    AmbrelPermissionStatus locationSettingStatus() override { return denied; }
    AmbrelPermissionStatus locationPermissionStatus() override { return denied; }
    AmbrelPermissionStatus locationPrecisePermissionStatus() override { return denied; }
    AmbrelPermissionStatus networkSettingStatus() override { return denied; }
    AmbrelPermissionStatus networkPermissionStatus() override { return denied; }

private:
    static constexpr auto granted = AmbrelPermissionStatus::granted;
    static constexpr auto denied = AmbrelPermissionStatus::denied;

    RunLoop& loop_;
};

} // namespace

int main() {
    const auto loop = Linux::EventLoop::current();
    const auto host = std::make_shared<Host>(*loop);
    const auto kit = AmbrelSDK::create(
        std::nullopt,
        [managers = Linux::makeBluetoothManagerFactory(loop)] {
            return std::make_shared<CountingManager>(managers());
        },
        {}, {}, // nothing else is granted
        [loop](double interval, bool repeats, TimerTick tick) {
            return loop->scheduledTimer(interval, repeats, std::move(tick));
        },
        nullptr, nullptr);
    kit->setDelegate(host);
    kit->startScanningOnce();
    loop->run();
}
