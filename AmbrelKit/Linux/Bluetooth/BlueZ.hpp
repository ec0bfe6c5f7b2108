#ifndef AMBRELKIT_LINUX_BLUETOOTH_BLUEZ_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_BLUEZ_HPP

#include "AmbrelKit/Linux/Bluetooth/BlueZObjects.hpp"
#include "AmbrelKit/Linux/Bluetooth/Discovery.hpp"
#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace AmbrelKit::Linux {

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
    ~BlueZ();
    BlueZ(const BlueZ&) = delete;
    BlueZ& operator=(const BlueZ&) = delete;

    void follow(std::weak_ptr<BlueZFollower> follower) { followers_.add(std::move(follower)); }
    void unfollow(const std::weak_ptr<BlueZFollower>& follower);
    /// A follower wants another thing than before.
    void wantsChanged();

    [[nodiscard]] BluetoothManagerState state() const { return state_; }

private:
    /// What belongs to one life of the daemon.
    struct Life {
        std::shared_ptr<BlueZObjects> objects;
        std::string adapter;                  ///< the one to scan with, if any is powered
        std::shared_ptr<Discovery> discovery; ///< of that adapter
        bool mayNotDiscover = false;
    };

    explicit BlueZ(std::shared_ptr<EventLoop> loop);
    void ownerChanged(const std::string& owner);
    void adaptersChanged(std::string_view discovery);
    void discoveryChanged();
    void heard(std::string_view path, const BlueZDevice& device);
    void update();
    void chooseAdapter();
    [[nodiscard]] BluetoothManagerState currentState() const;
    [[nodiscard]] SourceCondition condition() const;
    template <class Tell> void tellFollowers(const Tell& tell);

    std::shared_ptr<EventLoop> loop_;
    std::shared_ptr<SystemBus> bus_;
    std::shared_ptr<LoopBoard> board_;
    WeakList<BlueZFollower> followers_;
    std::shared_ptr<NameWatch> watch_;
    BluetoothManagerState state_ = BluetoothManagerState::unknown;
    bool wasThere_ = false; ///< a daemon that may come back
    Life life_;             ///< without objects while no daemon runs
};

} // namespace AmbrelKit::Linux

#endif
