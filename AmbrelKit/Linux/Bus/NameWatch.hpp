#ifndef AMBRELKIT_LINUX_BUS_NAMEWATCH_HPP
#define AMBRELKIT_LINUX_BUS_NAMEWATCH_HPP

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"

#include <optional>

namespace AmbrelKit::Linux {

/// Follows who owns a well-known name. Dropping it ends it, also inside its own callback.
class NameWatch final : public BusRegistration, public std::enable_shared_from_this<NameWatch> {
public:
    /// Is given the owner's unique name, empty while there is none or no bus: first once that is
    /// known, then after each change. A bus that does not answer is silent.
    using Receiver = std::function<void(const std::string& owner)>;

    [[nodiscard]] static std::shared_ptr<NameWatch> start(const std::shared_ptr<SystemBus>& bus,
                                                          std::string name, Receiver changed);

    /// Why nobody is known to own the name: what is amiss with the bus, or that it has not answered
    /// yet, or that there is none, for which this reason stands.
    [[nodiscard]] SourceCondition absence(SourceReason none) const;

private:
    NameWatch(const std::shared_ptr<SystemBus>& bus, std::string name, Receiver changed);
    void connected() override;
    void lost() override;
    void answered(sd_bus_message* reply);
    void ownerChanged(sd_bus_message* signal);
    void tell(const std::string& owner);

    std::weak_ptr<SystemBus> bus_;
    std::string name_;
    Receiver changed_;
    std::shared_ptr<SignalMatch> changes_;
    std::unique_ptr<PendingCall> question_;
    std::optional<std::string> owner_;
};

} // namespace AmbrelKit::Linux

#endif
