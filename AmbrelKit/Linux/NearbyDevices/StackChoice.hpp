#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_STACKCHOICE_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_STACKCHOICE_HPP

#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "AmbrelKit/Linux/NearbyDevices/AvahiDaemon.hpp"
#include "AmbrelKit/Linux/NearbyDevices/MDNSStack.hpp"
#include "AmbrelKit/Linux/Network/LinkWatch.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Linux/Sources/Standings.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"

#include <optional>

namespace AmbrelKit::Linux {

/// The choice between avahi-daemon and the embedded stack, one for each loop and what the host
/// allows. Held by browsers that search and services that they found, so each collection chooses
/// anew.
///
/// Where the host allows both, the daemon is used when its name has an owner. When there is none,
/// or it refuses, is silent for two seconds or may not keep all that there is, the embedded stack
/// is used, and is kept if a daemon comes later: it finds as much beside one, and a change would
/// only interrupt the search. A daemon that goes is given a second to come back before the embedded
/// stack takes the port, which a daemon may want for itself when it starts. Where the embedded
/// stack cannot run, a daemon that is silent is waited for, and one that keeps too little goes on.
///
/// What it knows it says on the loop's board, for as long as it lives.
///
/// The connection to the bus is its own: the bus grants a connection so many unanswered calls, to
/// whatever daemon, and those to a silent one add up until the connection ends.
class StackChoice final : public std::enable_shared_from_this<StackChoice> {
public:
    /// Follows the choice.
    class Client {
    public:
        Client() = default;
        Client(const Client&) = delete;
        Client& operator=(const Client&) = delete;
        virtual ~Client() = default;
        /// `stack()` is another one, or none for now; what the one before was asked is void. Calls
        /// nobody back.
        virtual void stackChanged() = 0;
    };

    [[nodiscard]] static std::shared_ptr<StackChoice> of(const std::shared_ptr<EventLoop>& loop,
                                                         MDNSStack allowed);
    ~StackChoice();
    StackChoice(const StackChoice&) = delete;
    StackChoice& operator=(const StackChoice&) = delete;

    /// Null while there is none, as at first.
    [[nodiscard]] const std::shared_ptr<DiscoveryStack>& stack() const { return stack_; }

    void add(const std::weak_ptr<Client>& client) { clients_.add(client); }

    /// A service tells the kit of an answer: that is what counts as a report, not that it was
    /// found.
    void countAnswer() { standings_->count(); }

private:
    class OfLoop;

    StackChoice(const std::shared_ptr<EventLoop>& loop, MDNSStack allowed,
                std::shared_ptr<OfLoop> ofLoop);
    void begin();
    void ownerChanged(const std::string& owner);
    void daemonStands(AvahiDaemon::Standing standing);
    void missDaemon();
    void useEmbedded();
    void use(std::shared_ptr<DiscoveryStack> stack);
    [[nodiscard]] SourceCondition condition() const;
    [[nodiscard]] SourceCondition embeddedCondition() const;
    [[nodiscard]] SourceCondition daemonCondition() const;
    void publish() { standings_->say(this, condition()); }

    std::shared_ptr<EventLoop> loop_;
    MDNSStack allowed_;
    std::shared_ptr<SystemBus> bus_;   ///< null where no daemon is to be asked
    std::shared_ptr<NameWatch> owner_; ///< likewise
    std::shared_ptr<Deadline> patience_;
    std::shared_ptr<DiscoveryStack> stack_;
    bool embedded_ = false;                       ///< is the stack
    std::optional<AvahiDaemon::Standing> daemon_; ///< of the one that is there, or was given up
    std::optional<SourceReason> lacks_;           ///< for the embedded stack, which could not start
    bool daemonWent_ = false;                     ///< and may come back
    std::shared_ptr<Standings> standings_;
    LinkWatch network_;
    WeakList<Client> clients_;
};

} // namespace AmbrelKit::Linux

#endif
