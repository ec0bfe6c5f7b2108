#ifndef AMBRELKIT_LINUX_BLUETOOTH_DISCOVERY_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_DISCOVERY_HPP

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/RunLoop/Retry.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace AmbrelKit::Linux {

/// The one discovery that BlueZ grants a bus connection, with one adapter while that is on. Told
/// whether it is wanted, it follows: one request at a time, since BlueZ refuses to stop what has
/// not finished starting, and what fails is tried again for as long as it is wanted. Letting go of
/// it ends it without waiting.
class Discovery final : public std::enable_shared_from_this<Discovery> {
public:
    /// What stood in the way is gone for half a second at most before that is noticed. It may take
    /// long: a daemon that was killed leaves the kernel in a discovery that lasts for ten seconds,
    /// and refuses others meanwhile.
    static constexpr Retry::Delays retryDelays{.first = std::chrono::milliseconds(50),
                                               .longest = std::chrono::milliseconds(400)};

    /// An adapter, and the unique bus name of the daemon that has it.
    struct Place {
        std::string daemon;
        std::string adapter;
    };

    /// `discovering` is what the adapter has last said. `changed` is called when a reply of BlueZ's
    /// has changed what this says of itself.
    Discovery(EventLoop& loop, Place place, bool discovering, std::function<void()> changed);
    ~Discovery();
    Discovery(const Discovery&) = delete;
    Discovery& operator=(const Discovery&) = delete;

    void want(bool wanted);

    /// The adapter says whether a discovery runs there, its own or another program's. One that runs
    /// no longer is begun again.
    void reported(bool discovering);

    [[nodiscard]] bool isWanted() const { return wanted_; }
    [[nodiscard]] bool isRunning() const { return phase_ == Phase::running; }
    /// This process may not discover; it is not tried again.
    [[nodiscard]] bool isDenied() const { return denied_; }
    /// Why it does not run though it is wanted, as BlueZ says it; empty while nothing has failed.
    [[nodiscard]] const std::string& failure() const { return failure_; }

private:
    enum class Phase : std::uint8_t { idle, starting, running, stopping };

    void step();
    void setFilter();
    void filterSet(sd_bus_message* reply);
    void start();
    void started(sd_bus_message* reply);
    void stop();
    void stopped(sd_bus_message* reply);
    void failed(sd_bus_message* reply);
    void waitThenRetry();
    [[nodiscard]] BusMethod method(const char* member) const;

    std::shared_ptr<SystemBus> bus_;
    Place place_;
    bool discovering_;
    std::function<void()> changed_;
    bool denied_ = false;
    std::string failure_;
    bool wanted_ = false;
    Phase phase_ = Phase::idle;
    std::unique_ptr<PendingCall> call_;
    Retry retry_;
};

} // namespace AmbrelKit::Linux

#endif
