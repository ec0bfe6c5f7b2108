#ifndef AMBRELKIT_LINUX_BLUETOOTH_BLUEZOBJECTS_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_BLUEZOBJECTS_HPP

#include "AmbrelKit/Linux/Bluetooth/Advertisement.hpp"
#include "AmbrelKit/Linux/Bluetooth/PeripheralIdentifier.hpp"
#include "AmbrelKit/Linux/Bluetooth/Properties.hpp"
#include "AmbrelKit/Linux/Bus/Daemon.hpp"
#include "AmbrelKit/Linux/RunLoop/Retry.hpp"
#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"

#include <functional>
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
    Advertisement advertisement;
    std::optional<int> rssi; ///< present while a discovery, of whatever program, hears it
    bool hasAdvertisingFlags = false;
    bool inquired = false; ///< an inquiry was the first to hear it
};

/// BlueZ's adapters, and its devices for who wants them, in one life of its daemon: asked for, and
/// from then on followed by signals.
class BlueZObjects final : public std::enable_shared_from_this<BlueZObjects> {
public:
    struct Adapter {
        bool powered = false;
        bool discovering = false;
    };
    struct PathOrder { // hci2 comes before hci10
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const {
            return a.size() != b.size() ? a.size() < b.size() : a < b;
        }
    };
    using Adapters = std::map<std::string, Adapter, PathOrder>;

    /// Called from the loop.
    struct Receivers {
        /// The adapters are known, are others than before, are refused, or, for who hears devices,
        /// cannot be told. `discovery` is the path of the one that has just told whether it
        /// discovers, if any has.
        std::function<void(std::string_view discovery)> adaptersChanged;
        /// The device, whose address and RSSI are present, was just heard over Low Energy. Without
        /// this receiver nothing is heard of devices: what others discover wakes nobody.
        std::function<void(std::string_view path, const BlueZDevice&)> heard = {};
    };

    static std::shared_ptr<BlueZObjects> follow(EventLoop& loop,
                                                const std::shared_ptr<SystemBus>& bus,
                                                const std::string& daemon, Receivers receivers);

    [[nodiscard]] const std::string& daemon() const { return daemon_.name(); }
    [[nodiscard]] bool areKnown() const { return answer_ == Answer::given; }
    [[nodiscard]] bool areRefused() const { return answer_ == Answer::refused; }
    /// Why they are neither, as BlueZ says it; empty while it has not answered.
    [[nodiscard]] const std::string& failure() const { return failure_; }
    [[nodiscard]] const Adapters& adapters() const { return adapters_; }

private:
    enum class Answer : std::uint8_t { none, given, refused };

    struct PathHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view path) const {
            return std::hash<std::string_view>{}(path);
        }
    };

    BlueZObjects(EventLoop& loop, const std::shared_ptr<SystemBus>& bus, const std::string& daemon,
                 Receivers receivers);
    void hear();
    void ask();
    void replied(sd_bus_message* reply);
    void failed(std::string failure);
    void received(sd_bus_message* signal);
    void added(std::string_view path, const ObjectProperties& object);
    void changed(std::string_view path, const ObjectProperties& object);
    void removed(const RemovedInterfaces& interfaces);
    std::shared_ptr<BlueZDevice> remember(std::string_view path, const DeviceProperties& read);
    void take(BlueZDevice& device, const DeviceProperties& read);
    void take(std::string_view path, const AdapterProperties& read);
    void tellOfAdapter(std::string_view path, const AdapterProperties& read);
    void tellIfHeard(std::string_view path, const BlueZDevice& device) const;

    Daemon daemon_;
    Receivers receivers_;
    Retry askAgain_;
    Answer answer_ = Answer::none;
    std::string failure_;
    Adapters adapters_;
    std::unordered_map<std::string, std::shared_ptr<BlueZDevice>, PathHash, std::equal_to<>>
        devices_;
    bool showsFlags_ = false; ///< of advertisements, as BlueZ does since 5.78
};

} // namespace AmbrelKit::Linux

#endif
