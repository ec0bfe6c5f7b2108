#ifndef AMBRELKIT_LINUX_LOCATION_GEOCLUE_HPP
#define AMBRELKIT_LINUX_LOCATION_GEOCLUE_HPP

#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/Location/Location.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <string>

namespace AmbrelKit::Linux {

/// Fixes from GeoClue, which is started when it is not running. A GeoClue that has gone is taken up
/// again when it comes back, and started again after a while.
///
/// The connection to the bus is its own. GeoClue keeps a question that it has not answered (no
/// agent yet) for as long as the asker is on the bus, and has no way to take it back: leaving the
/// bus ends questions, clients and matches at once.
class GeoClue final : public LocationSource, public std::enable_shared_from_this<GeoClue> {
public:
    static std::shared_ptr<GeoClue> start(const std::shared_ptr<EventLoop>& loop,
                                          std::string desktopId, LocationAccuracy accuracy,
                                          std::weak_ptr<LocationSourceOwner> owner);

    [[nodiscard]] State state() const override { return state_; }
    [[nodiscard]] std::string reason() const override { return reason_; }

private:
    using Handler = void (GeoClue::*)(sd_bus_message*);

    GeoClue(const std::shared_ptr<EventLoop>& loop, std::string desktopId,
            LocationAccuracy accuracy, std::weak_ptr<LocationSourceOwner> owner);
    void connect();
    void forget();
    void daemonChanged(const std::string& daemon);
    void activate();
    void activated(sd_bus_message* reply);
    void clientMade(sd_bus_message* reply);
    void started(sd_bus_message* reply);
    void refusedOrFailed(sd_bus_message* reply);
    void clientSignalled(sd_bus_message* signal);
    void propertiesChanged(sd_bus_message* signal);
    void locationRead(sd_bus_message* reply);
    void become(State state, std::string reason = {});
    void retryLater();
    void ask(const BusMethod& method, Handler answered);
    [[nodiscard]] BusReceiver receiver(Handler handler);

    std::weak_ptr<EventLoop> loop_;
    std::string desktopId_;
    LocationAccuracy accuracy_;
    std::weak_ptr<LocationSourceOwner> owner_;
    State state_ = State::asking;
    std::string reason_;
    std::shared_ptr<Deadline> retry_;
    std::chrono::milliseconds delay_;

    std::shared_ptr<SystemBus> bus_;
    std::shared_ptr<NameWatch> name_;
    std::string daemon_;
    std::string client_;
    std::shared_ptr<SignalMatch> signals_;
    std::unique_ptr<PendingCall> question_;
    std::unique_ptr<PendingCall> reading_;
};

} // namespace AmbrelKit::Linux

#endif
