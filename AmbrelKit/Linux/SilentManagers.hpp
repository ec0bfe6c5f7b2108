#ifndef AMBRELKIT_LINUX_SILENTMANAGERS_HPP
#define AMBRELKIT_LINUX_SILENTMANAGERS_HPP

#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

// What stands where a source is not part of the build: it takes every call and reports nothing.

namespace AmbrelKit::Linux {

class SilentBluetoothManager final : public BluetoothCentralManager {
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

} // namespace AmbrelKit::Linux

#endif
