#ifndef AMBRELKIT_LINUX_BLUETOOTH_CENTRALMANAGER_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_CENTRALMANAGER_HPP

#include "AmbrelKit/Linux/Bluetooth/BlueZ.hpp"
#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"

namespace AmbrelKit::Linux {

/// A manager on BlueZ. It follows BlueZ while it has a delegate or scans, and costs nothing
/// otherwise.
class CentralManager final : public BluetoothCentralManager,
                             public BlueZFollower,
                             public std::enable_shared_from_this<CentralManager> {
public:
    explicit CentralManager(std::shared_ptr<EventLoop> loop);
    ~CentralManager() override;
    CentralManager(const CentralManager&) = delete;
    CentralManager& operator=(const CentralManager&) = delete;

    [[nodiscard]] std::shared_ptr<BluetoothCentralManagerDelegate> delegate() const override;
    void setDelegate(std::weak_ptr<BluetoothCentralManagerDelegate> delegate) override;
    [[nodiscard]] BluetoothManagerState state() const override { return state_; }
    void scanForPeripheralsWithServices(const std::optional<std::vector<UUID>>& services,
                                        const std::optional<JSONDictionary>& options) override;
    void stopScan() override;

    [[nodiscard]] bool wantsScan() const override { return scanning_; }
    void blueZStateChanged() override;
    void blueZHeard(const BlueZDevice& device) override;

private:
    void followAsNeeded();

    std::shared_ptr<EventLoop> loop_;
    std::shared_ptr<LoopBoard> board_;
    std::weak_ptr<BluetoothCentralManagerDelegate> delegate_;
    std::shared_ptr<BlueZ> blueZ_; ///< held while following
    std::shared_ptr<Deferral> announcement_;
    BluetoothManagerState state_ = BluetoothManagerState::unknown;
    bool scanning_ = false;
    std::optional<std::vector<UUID>> services_;
    bool givesAdvertisementData_ = false;
};

} // namespace AmbrelKit::Linux

#endif
