#ifndef AMBRELKIT_LINUX_BLUETOOTH_ADAPTERWATCH_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_ADAPTERWATCH_HPP

#include "AmbrelKit/Linux/Bus/NameWatch.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

struct AdapterProperties;

/// Follows BlueZ's adapters, and nothing of the devices that other programs hear: it may be kept
/// for as long as a host runs. BlueZ is not started for it.
class AdapterWatch final : public std::enable_shared_from_this<AdapterWatch> {
public:
    struct Facts {
        bool answered = false;               ///< BlueZ runs, and what follows of the adapters is so
        std::map<std::string, bool> powered; ///< by the adapter's object path
        /// Whether the bus lets this program ask, as it was seen last; absent before.
        std::optional<bool> permitted;
    };

    /// `changed` is called from the loop. Null when BlueZ was left out of the build.
    static std::shared_ptr<AdapterWatch> start(const std::shared_ptr<SystemBus>& bus,
                                               std::function<void()> changed);

    [[nodiscard]] const Facts& facts() const { return facts_; }

private:
    AdapterWatch(std::shared_ptr<SystemBus> bus, std::function<void()> changed)
        : bus_(std::move(bus)), changed_(std::move(changed)) {}
    void ownerChanged(const std::string& owner);
    void objectsReplied(sd_bus_message* reply);
    void received(sd_bus_message* signal);
    void take(std::string_view path, const AdapterProperties& read);

    std::shared_ptr<SystemBus> bus_;
    std::function<void()> changed_;
    std::shared_ptr<NameWatch> name_;
    std::vector<std::shared_ptr<SignalMatch>> signals_;
    std::unique_ptr<PendingCall> question_;
    Facts facts_;
};

} // namespace AmbrelKit::Linux

#endif
