#include "AmbrelKit/Simulated/BluetoothRadio.hpp"

#include <nlohmann/json.hpp>
#include <utility>

namespace AmbrelKit::Simulated {

namespace {

constexpr const char* means = "simulated radio";

SourceCondition unscanned(BluetoothManagerState state) {
    switch (state) {
    case BluetoothManagerState::unsupported:
        return {.state = SourceState::unavailable,
                .code = "no-adapter",
                .reason = "there is no simulated radio"};
    case BluetoothManagerState::unauthorized:
        return {.state = SourceState::refused,
                .code = "not-allowed",
                .reason = "this user may not use the simulated radio"};
    case BluetoothManagerState::poweredOff:
        return {.state = SourceState::off,
                .code = "switched-off",
                .reason = "the simulated radio is switched off"};
    default:
        return {.state = SourceState::starting};
    }
}

} // namespace

class BluetoothRadio::Manager final : public BluetoothCentralManager {
public:
    Manager(std::shared_ptr<Context> context, std::shared_ptr<Sources> sources)
        : context_(std::move(context)), source_(std::move(sources), Source::bluetooth) {}

    [[nodiscard]] std::shared_ptr<BluetoothCentralManagerDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<BluetoothCentralManagerDelegate> delegate) override {
        delegate_ = std::move(delegate);
        tellSource();
    }

    [[nodiscard]] BluetoothManagerState state() const override { return state_; }
    void setState(BluetoothManagerState state) {
        state_ = state;
        scans_ = scans_ && state == BluetoothManagerState::poweredOn;
        tellSource();
    }

    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& /*services*/,
                                        const std::optional<JSONDictionary>& /*options*/) override {
        context_->report("bluetooth", "scanForPeripheralsWithServices");
        scans_ = true;
        tellSource();
    }

    void stopScan() override {
        context_->report("bluetooth", "stopScan");
        scans_ = false;
        tellSource();
    }

    void countReport() const { source_.reports(); }

private:
    void tellSource() {
        source_.fares(delegate_.expired() ? SourceCondition()
                      : scans_ ? SourceCondition{.state = SourceState::listening, .means = means}
                               : unscanned(state_));
    }

    std::shared_ptr<Context> context_;
    Sources::Part source_;
    std::weak_ptr<BluetoothCentralManagerDelegate> delegate_;
    BluetoothManagerState state_ = BluetoothManagerState::unknown;
    bool scans_ = false;
};

BluetoothRadio::BluetoothRadio(std::shared_ptr<Context> context, std::shared_ptr<Sources> sources)
    : context_(std::move(context)), sources_(std::move(sources)) {}

std::shared_ptr<BluetoothCentralManager> BluetoothRadio::makeManager() {
    context_->report("bluetooth", "create");
    auto manager = std::make_shared<Manager>(context_, sources_);
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
        manager->countReport();
        delegate->centralManagerDidDiscoverPeripheral(*manager, peripheral, advertisementData,
                                                      rssi);
    }
}

} // namespace AmbrelKit::Simulated
