#ifndef AMBRELKIT_LINUX_LIFECYCLE_SESSIONWATCH_HPP
#define AMBRELKIT_LINUX_LIFECYCLE_SESSIONWATCH_HPP

#include "AmbrelKit/Linux/Bus/Daemon.hpp"

#include <functional>
#include <memory>
#include <string>

namespace AmbrelKit::Linux {

/// A session's name, "3", by its object path.
std::string sessionName(const std::string& path);

/// Follows, for one life of logind, the session by which this process's user sees it, whichever
/// that is at the time:
///
/// - The session that the process was started in, until its user has logged out of that.
/// - Otherwise the one that logind calls the display of the user whom the process runs as. So a
///   service of the user (`systemd --user`), lingering or not, and a service of the system that
///   runs as a person, follow that person's logins as they come and go.
/// - A service of the system whose user never logs in has none.
class SessionWatch {
public:
    /// Is given the session's object path, empty for none, and whether it is the active one of its
    /// seat: first once that is known, then after each change. May drop the watch.
    using Receiver = std::function<void(const std::string& session, bool active)>;

    /// `logind` is logind's unique name.
    SessionWatch(std::shared_ptr<SystemBus> bus, const std::string& logind, Receiver changed);

private:
    void search();
    void askForDisplay();
    void follow(const std::string& session);
    void learn(sd_bus_message* properties);
    void tell(bool active) const;

    Receiver changed_;
    Daemon logind_;
    std::string session_;           ///< empty: not known yet
    std::unique_ptr<Daemon> about_; ///< what is heard and asked about `session_`
};

} // namespace AmbrelKit::Linux

#endif
