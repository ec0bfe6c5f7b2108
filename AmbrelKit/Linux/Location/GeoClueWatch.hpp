#ifndef AMBRELKIT_LINUX_LOCATION_GEOCLUEWATCH_HPP
#define AMBRELKIT_LINUX_LOCATION_GEOCLUEWATCH_HPP

#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "AmbrelKit/Linux/Location/GeoClueVerdict.hpp"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace AmbrelKit::Linux {

inline constexpr const char* geoClueName = "org.freedesktop.GeoClue2";

/// Follows whether GeoClue could be asked, without asking or starting it.
class GeoClueWatch final : public std::enable_shared_from_this<GeoClueWatch> {
public:
    /// `changed` is called from the loop. Null when GeoClue was left out of the build.
    static std::shared_ptr<GeoClueWatch>
    start(EventLoop& loop, const std::shared_ptr<SystemBus>& bus, std::function<void()> changed);

    /// It has been seen to run, or the bus could start it.
    [[nodiscard]] bool isPresent() const { return present_; }
    /// It has refused a manager of this loop, and not served one since.
    [[nodiscard]] bool hasRefused() const { return verdict_->refused(); }

private:
    GeoClueWatch(std::shared_ptr<SystemBus> bus, std::shared_ptr<GeoClueVerdict> verdict,
                 std::function<void()> changed)
        : bus_(std::move(bus)), verdict_(std::move(verdict)),
          changed_(std::make_shared<const std::function<void()>>(std::move(changed))) {}
    void ownerChanged(const std::string& owner);
    void namesReplied(sd_bus_message* reply);

    std::shared_ptr<SystemBus> bus_;
    std::shared_ptr<GeoClueVerdict> verdict_;
    std::shared_ptr<const std::function<void()>> changed_;
    std::shared_ptr<NameWatch> name_;
    std::unique_ptr<PendingCall> question_;
    bool present_ = false;
};

} // namespace AmbrelKit::Linux

#endif
