#ifndef AMBRELKIT_LINUX_LOCATION_GEOCLUE_HPP
#define AMBRELKIT_LINUX_LOCATION_GEOCLUE_HPP

#include "AmbrelKit/Linux/Bus/Daemon.hpp"
#include "AmbrelKit/Linux/Bus/NameWatch.hpp"
#include "AmbrelKit/Linux/Location/GeoClueVerdict.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Linux/RunLoop/Retry.hpp"

#include <string>

namespace AmbrelKit::Linux {

/// Fixes from GeoClue, which is started when it is not running. A GeoClue that has gone is taken up
/// again when it comes back, and started again after a while. One that asks the user is not silent,
/// however long that takes.
///
/// The connection to the bus is its own. GeoClue keeps a question that it has not answered (no
/// agent yet) for as long as the asker is on the bus, and has no way to take it back: leaving the
/// bus ends questions, clients and matches at once.
class GeoClue final : public LocationSource, public std::enable_shared_from_this<GeoClue> {
public:
    static std::shared_ptr<GeoClue> start(const std::shared_ptr<EventLoop>& loop,
                                          const LocationOptions& options,
                                          std::weak_ptr<LocationSourceOwner> owner);

    [[nodiscard]] SourceCondition condition() const override { return condition_; }

private:
    /// One life of the daemon, and what is read from it.
    struct Life {
        Life(const std::shared_ptr<SystemBus>& bus, const std::string& name) : daemon(bus, name) {}

        Daemon daemon;
        bool hasClient = false;
        bool hasPlace = false;
        std::string location; ///< the newest one, until it is read
        bool reading = false;
    };

    GeoClue(const std::shared_ptr<EventLoop>& loop, LocationOptions options);
    void connect();
    void ownerChanged(const std::string& owner);
    void activate();
    void activated(sd_bus_message* reply);
    void clientMade(sd_bus_message* reply);
    void started(sd_bus_message* reply);
    void refusedOrFailed(sd_bus_message* reply);
    void signalled(sd_bus_message* signal);
    void propertiesChanged(sd_bus_message* signal);
    void readLocation();
    void locationRead(sd_bus_message* reply);
    void serves();
    [[nodiscard]] SourceCondition refusal(const std::string& said) const;
    void await(const SourceCondition& meanwhile);
    void timeIsUp();
    void become(const SourceCondition& condition);

    std::weak_ptr<EventLoop> loop_;
    LocationOptions options_;
    std::weak_ptr<LocationSourceOwner> owner_;
    std::shared_ptr<GeoClueVerdict> verdict_;
    SourceCondition condition_;
    Retry reconnect_;
    std::shared_ptr<Deadline> answerDue_;

    std::shared_ptr<SystemBus> bus_;
    std::shared_ptr<NameWatch> name_;
    bool busAnswers_ = false;
    std::unique_ptr<Life> life_;
};

} // namespace AmbrelKit::Linux

#endif
