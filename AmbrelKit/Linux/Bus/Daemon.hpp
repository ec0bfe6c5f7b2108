#ifndef AMBRELKIT_LINUX_BUS_DAEMON_HPP
#define AMBRELKIT_LINUX_BUS_DAEMON_HPP

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace AmbrelKit::Linux {

/// One life of a daemon on the bus: its unique name, which nobody else can bear and no successor
/// gets, what is heard from it, and what it still has to answer. Who follows a daemon drops this
/// when the name's owner changes, and with it everything that belonged to that life; what is known
/// of the daemon lies beside it, in the same object, and goes with it.
class Daemon {
public:
    /// A method of one of the daemon's objects.
    struct Method {
        std::string path;
        std::string interface;
        std::string member;
    };

    Daemon(std::shared_ptr<SystemBus> bus, std::string name);
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;
    ~Daemon();

    /// Its unique name.
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] const std::shared_ptr<SystemBus>& bus() const { return bus_; }

    /// Hears the signals that `rule` describes, a match rule without type and sender; from here on,
    /// so ahead of the answer to what is asked next.
    void hear(std::string_view rule, BusReceiver received);

    /// Asks. The reply comes from the loop, unless this is gone by then. False when nothing could
    /// be sent, so that no reply comes.
    bool ask(const Method& method, const BusArguments& arguments, BusReceiver replied);

    /// As `ask`, for a question that may be withdrawn: by dropping what is returned, which is null
    /// when nothing could be sent. To be dropped with this at the latest.
    [[nodiscard]] std::unique_ptr<PendingCall>
    call(const Method& method, const BusArguments& arguments, BusReceiver replied) const;

    /// As `SystemBus::send`: a reply is delivered also when this is gone.
    bool send(const Method& method, const BusArguments& arguments, BusReceiver replied = {});

private:
    [[nodiscard]] BusMethod addressed(const Method& method) const;

    std::shared_ptr<SystemBus> bus_;
    std::string name_;
    std::vector<std::shared_ptr<SignalMatch>> matches_;
    std::map<std::uint64_t, std::unique_ptr<PendingCall>> questions_;
    std::uint64_t lastQuestion_ = 0;
};

} // namespace AmbrelKit::Linux

#endif
