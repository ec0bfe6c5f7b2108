#ifndef AMBRELKIT_LINUX_BLUETOOTH_BLUEZ_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_BLUEZ_HPP

#include "AmbrelKit/Linux/Bluetooth/Discovery.hpp"
#include "AmbrelKit/Linux/Bluetooth/PeripheralIdentifier.hpp"
#include "AmbrelKit/Linux/Bluetooth/Properties.hpp"
#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace AmbrelKit::Linux {

/// A peripheral that BlueZ knows of.
struct BlueZDevice {
    std::optional<HardwareAddress> address; ///< absent: whose it is cannot be told
    Peripheral peripheral;
    std::vector<UUID> services;
    std::optional<int> rssi; ///< present while a discovery, of whatever program, hears it
};

/// Who wants to hear of BlueZ. Called from the loop only.
class BlueZFollower {
public:
    virtual ~BlueZFollower() = default;
    [[nodiscard]] virtual bool wantsScan() const = 0;
    virtual void blueZStateChanged() = 0;
    /// The device, whose RSSI is present, was heard just now.
    virtual void blueZHeard(const BlueZDevice& device) = 0;
};

/// BlueZ as the loop's bus connection sees it: `loop->shared<BlueZ>()`. BlueZ counts discoveries by
/// connection, so the managers of a loop share one, and with it what is known of the devices. To be
/// held only while following: as long as it lives it is subscribed.
class BlueZ final : public std::enable_shared_from_this<BlueZ> {
public:
    static std::shared_ptr<BlueZ> make(const std::shared_ptr<EventLoop>& loop);

    void follow(const std::shared_ptr<BlueZFollower>& follower);
    void unfollow(const BlueZFollower& follower);
    /// A follower wants another thing than before.
    void wantsChanged();

    [[nodiscard]] BluetoothManagerState state() const { return state_; }

private:
    struct Adapter {
        bool powered = false;
        bool discovering = false;
    };

    struct PathHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view path) const {
            return std::hash<std::string_view>{}(path);
        }
    };

    struct PathOrder { // hci2 comes before hci10
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const {
            return a.size() != b.size() ? a.size() < b.size() : a < b;
        }
    };

    explicit BlueZ(const std::shared_ptr<EventLoop>& loop);
    void ownerChanged(const std::string& owner);
    void askForObjects();
    void objectsReplied(sd_bus_message* reply);
    void received(sd_bus_message* signal);
    void objectAdded(std::string_view path, const ObjectProperties& object);
    void objectChanged(std::string_view path, const ObjectProperties& object);
    void objectRemoved(const RemovedInterfaces& removed);
    std::shared_ptr<BlueZDevice> remember(std::string_view path, const DeviceProperties& read);
    void adapterReported(std::string_view path, const AdapterProperties& read);
    void heard(std::string_view path, const std::shared_ptr<const BlueZDevice>& device);
    void update();
    void chooseAdapter();
    [[nodiscard]] BluetoothManagerState currentState() const;
    template <class Tell> void tellFollowers(const Tell& tell);

    std::shared_ptr<EventLoop> loop_;
    std::shared_ptr<SystemBus> bus_;
    std::vector<std::weak_ptr<BlueZFollower>> followers_;
    std::shared_ptr<Discovery> discovery_;
    std::shared_ptr<NameWatch> watch_;
    BluetoothManagerState state_ = BluetoothManagerState::unknown;
    bool answeredOnce_ = false; ///< whether there was a daemon that may come back

    // Of the daemon that runs now; empty while none does.
    std::string owner_;
    std::shared_ptr<SignalMatch> signals_;
    std::unique_ptr<PendingCall> question_;
    Retry askAgain_;
    bool answered_ = false; ///< whether the objects are known
    bool denied_ = false;
    std::map<std::string, Adapter, PathOrder> adapters_;
    std::string adapter_; ///< the one to scan with, if any is powered
    std::unordered_map<std::string, std::shared_ptr<BlueZDevice>, PathHash, std::equal_to<>>
        devices_;
};

} // namespace AmbrelKit::Linux

#endif
