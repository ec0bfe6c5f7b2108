#ifndef AMBRELKIT_LINUX_BUS_SYSTEMBUS_HPP
#define AMBRELKIT_LINUX_BUS_SYSTEMBUS_HPP

#include "AmbrelKit/Linux/RunLoop/Retry.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <systemd/sd-bus.h>

namespace AmbrelKit::Linux {

class SystemBus;

/// Where a method call goes.
struct BusMethod {
    std::string service;
    std::string path;
    std::string interface;
    std::string member;
};

/// Appends a call's arguments and returns what the last sd_bus_message_append returned; when that
/// is negative the call is not made.
using BusArguments = std::function<int(sd_bus_message*)>;

/// Receives a reply or a signal. What it reads may have other types than expected, and a reply may
/// be an error.
using BusReceiver = std::function<void(sd_bus_message*)>;

/// Whether a reply is an error: the one of this name, if one is given.
bool isError(sd_bus_message* reply, const char* name = nullptr);

/// What a reply says that is of other types than its method has, for people.
inline constexpr std::string_view unreadableAnswer = "its answer cannot be read";

/// What a reply that is an error says, for people; empty when it is none.
std::string errorText(sd_bus_message* reply);

/// A call that waits for its reply. Dropping it means that the reply is not delivered.
class PendingCall {
public:
    explicit PendingCall(sd_bus_slot* slot) : slot_(slot) {}
    ~PendingCall();
    PendingCall(const PendingCall&) = delete;
    PendingCall& operator=(const PendingCall&) = delete;

private:
    sd_bus_slot* slot_;
};

/// What follows the connection: set up anew on each new one.
class BusRegistration {
public:
    BusRegistration() = default;
    BusRegistration(const BusRegistration&) = delete;
    BusRegistration& operator=(const BusRegistration&) = delete;
    virtual ~BusRegistration() = default;

protected:
    friend class SystemBus;
    virtual void connected() = 0;
    /// Also told, once or more, when there is no connection from the start.
    virtual void lost() = 0;
};

/// A subscription to signals. It outlives a lost connection; dropping it ends it, also inside its
/// own callback.
class SignalMatch final : public BusRegistration, public std::enable_shared_from_this<SignalMatch> {
public:
    ~SignalMatch() override;
    SignalMatch(const SignalMatch&) = delete;
    SignalMatch& operator=(const SignalMatch&) = delete;

private:
    friend class SystemBus;
    SignalMatch(std::weak_ptr<SystemBus> bus, std::string rule, BusReceiver received);
    void connected() override;
    void lost() override;
    static int run(sd_bus_message* signal, void* self, sd_bus_error*);

    std::weak_ptr<SystemBus> bus_;
    std::string rule_;
    BusReceiver received_;
    sd_bus_slot* slot_ = nullptr;
};

/// A connection to the system bus: `loop->shared<SystemBus>()`, or by `make` one's own. Sources
/// hold it for as long as they want something from it; meanwhile a connection that cannot be had or
/// is lost is tried for again, after 1 s and then less and less often until somebody new wants it.
///
/// Nothing here waits, and nothing calls back inside a call made here: replies and signals come
/// from the loop, guarded. A connection that is lost first fails every call that waits for its
/// reply with an error; then the name watches say that their names have no owner.
class SystemBus final : public std::enable_shared_from_this<SystemBus> {
public:
    static std::shared_ptr<SystemBus> make(const std::shared_ptr<EventLoop>& loop);
    ~SystemBus();
    SystemBus(const SystemBus&) = delete;
    SystemBus& operator=(const SystemBus&) = delete;

    /// Calls a method, and waits for its reply for as long as the connection lasts. Null when it
    /// cannot be sent (no connection, wrong arguments): then no reply comes.
    [[nodiscard]] std::unique_ptr<PendingCall>
    call(const BusMethod& method, const BusArguments& arguments, BusReceiver replied);

    /// Calls a method whose reply is delivered whatever becomes of the caller, and however late it
    /// comes, so `replied` must know it weakly; without `replied` no reply is asked for. False when
    /// it cannot be sent.
    bool send(const BusMethod& method, const BusArguments& arguments, BusReceiver replied = {});

    /// Subscribes to the signals that a match rule describes. The rule should name the sender, by
    /// its unique name: anybody may send a signal.
    [[nodiscard]] std::shared_ptr<SignalMatch> match(std::string rule, BusReceiver received);

    /// Whether there was ever a connection: who follows a daemon for long lets go of a bus that
    /// was never there, since trying again and again would keep an idle process awake.
    [[nodiscard]] bool wasConnected() const { return wasConnected_; }

    [[nodiscard]] bool isConnected() const { return bus_ != nullptr; }

    /// What is amiss with the bus itself, for who finds nobody on it; absent while it answers.
    [[nodiscard]] std::optional<SourceCondition> obstacle() const;

    /// Has `registration` follow the connection for as long as it lives.
    void enrol(const std::shared_ptr<BusRegistration>& registration);

private:
    friend class SignalMatch;
    struct Reply;

    explicit SystemBus(std::shared_ptr<EventLoop> loop);
    void connect();
    [[nodiscard]] bool open();
    void close();
    void lost();
    void tellAbsence();
    [[nodiscard]] bool transmit(const BusMethod& method, const BusArguments& arguments,
                                BusReceiver replied, sd_bus_slot** slot);
    static int disconnected(sd_bus_message*, void* self, sd_bus_error*);

    std::shared_ptr<EventLoop> loop_;
    sd_bus* bus_ = nullptr;
    bool wasConnected_ = false;
    int opened_ = 0;        ///< what came of the latest try to connect: negative, an error
    bool answered_ = false; ///< since then
    sd_bus_slot* disconnected_ = nullptr;
    Retry reconnect_;
    std::shared_ptr<Deferral> absence_;
    WeakList<BusRegistration> registrations_;
};

} // namespace AmbrelKit::Linux

#endif
