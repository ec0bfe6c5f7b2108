#ifndef AMBRELKIT_LINUX_BLUETOOTH_ADAPTERWATCH_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_ADAPTERWATCH_HPP

#include "AmbrelKit/Linux/Bluetooth/BlueZObjects.hpp"
#include "AmbrelKit/Linux/Bus/NameWatch.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace AmbrelKit::Linux {

/// Follows BlueZ's adapters, and nothing of the devices that other programs hear: it may be kept
/// for as long as a host runs. BlueZ is not started for it.
class AdapterWatch final : public std::enable_shared_from_this<AdapterWatch> {
public:
    /// `changed` is called from the loop. Null when BlueZ was left out of the build.
    static std::shared_ptr<AdapterWatch> start(const std::shared_ptr<EventLoop>& loop,
                                               std::function<void()> changed);

    /// Whether an adapter is on; absent while BlueZ does not run, or has not answered.
    [[nodiscard]] std::optional<bool> isOn() const {
        if (!objects_ || !objects_->areKnown()) {
            return std::nullopt;
        }
        const auto isPowered = [](const auto& adapter) { return adapter.second.powered; };
        return std::ranges::any_of(objects_->adapters(), isPowered);
    }

    /// Whether the bus lets this program ask, as it was seen last; absent before.
    [[nodiscard]] std::optional<bool> isPermitted() const { return permitted_; }

private:
    AdapterWatch(std::shared_ptr<EventLoop> loop, std::function<void()> changed)
        : loop_(std::move(loop)), changed_(std::move(changed)) {}
    void ownerChanged(const std::string& owner);

    std::shared_ptr<EventLoop> loop_;
    std::function<void()> changed_;
    std::shared_ptr<NameWatch> name_;
    std::shared_ptr<BlueZObjects> objects_; ///< null while BlueZ does not run
    std::optional<bool> permitted_;
};

} // namespace AmbrelKit::Linux

#endif
