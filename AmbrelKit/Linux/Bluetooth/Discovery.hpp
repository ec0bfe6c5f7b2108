#ifndef AMBRELKIT_LINUX_BLUETOOTH_DISCOVERY_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_DISCOVERY_HPP

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/RunLoop/Retry.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace AmbrelKit::Linux {

/// What stood in the way is gone for half a second at most before that is noticed. It may take
/// long: a daemon that was killed leaves the kernel in a discovery that lasts for ten seconds, and
/// refuses others meanwhile.
inline constexpr Retry::Delays retryDelays{.first = std::chrono::milliseconds(50),
                                           .longest = std::chrono::milliseconds(400)};

/// The one discovery that BlueZ grants a bus connection. Told where it is wanted, it follows: one
/// request at a time, since BlueZ refuses to stop what has not finished starting, and what fails is
/// tried again for as long as it is wanted. Letting go of it ends it without waiting.
class Discovery final : public std::enable_shared_from_this<Discovery> {
public:
    /// An adapter, and the unique bus name of the daemon that has it.
    struct Place {
        std::string daemon;
        std::string adapter;
        bool operator==(const Place&) const = default;
    };

    /// `denied` is called when this process may not discover; it is not tried again.
    static std::shared_ptr<Discovery> make(const std::shared_ptr<EventLoop>& loop,
                                           std::function<void()> denied);
    ~Discovery();
    Discovery(const Discovery&) = delete;
    Discovery& operator=(const Discovery&) = delete;

    /// Has it run there, or nowhere.
    void aim(std::optional<Place> wanted);

    /// The place it was asked to run at says whether a discovery runs there, its own or another
    /// program's. One that runs no longer is begun again.
    void reported(bool discovering);

    /// The place is gone, and everything that was asked of it.
    void lost();

private:
    enum class Phase : std::uint8_t { idle, starting, running, stopping };

    Discovery(const std::shared_ptr<EventLoop>& loop, std::function<void()> denied);
    void step();
    void setFilter();
    void start();
    void started(sd_bus_message* reply);
    void stop();
    void stopped(sd_bus_message* reply);
    void failed(sd_bus_message* reply);
    void waitThenRetry();
    [[nodiscard]] BusMethod method(const char* member) const;

    std::shared_ptr<SystemBus> bus_;
    std::function<void()> denied_;
    std::optional<Place> wanted_;
    Place place_; ///< what the phase speaks of, unless that is idle
    Phase phase_ = Phase::idle;
    bool discovering_ = false;
    /// Of the place. A start that was asked for an earlier one is stopped when it succeeds.
    std::uint64_t generation_ = 0;
    std::unique_ptr<PendingCall> call_;
    Retry retry_;
};

} // namespace AmbrelKit::Linux

#endif
