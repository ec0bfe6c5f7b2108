// Bluetooth was left out of this build.

#include "AmbrelKit/Linux/Bluetooth/AdapterWatch.hpp"
#include "AmbrelKit/Linux/Bluetooth/BluetoothManagerFactory.hpp"

#include <nlohmann/json.hpp>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

class SilentManager final : public BluetoothCentralManager {
public:
    [[nodiscard]] std::shared_ptr<BluetoothCentralManagerDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<BluetoothCentralManagerDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }
    [[nodiscard]] BluetoothManagerState state() const override {
        return BluetoothManagerState::unknown;
    }
    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& /*services*/,
                                        const std::optional<JSONDictionary>& /*options*/) override {
    }
    void stopScan() override {}

private:
    std::weak_ptr<BluetoothCentralManagerDelegate> delegate_;
};

} // namespace

BluetoothManagerFactory makeBluetoothManagerFactory(std::shared_ptr<EventLoop> /*loop*/) {
    return [] { return std::make_shared<SilentManager>(); };
}

std::shared_ptr<AdapterWatch> AdapterWatch::start(const std::shared_ptr<EventLoop>& /*loop*/,
                                                  std::function<void()> /*changed*/) {
    return nullptr;
}

} // namespace AmbrelKit::Linux
