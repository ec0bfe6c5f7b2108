#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIDAEMON_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIDAEMON_HPP

#include "AmbrelKit/Linux/Bus/Daemon.hpp"
#include "AmbrelKit/Linux/NearbyDevices/AvahiCache.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <deque>
#include <map>

namespace AmbrelKit::Linux {

/// avahi-daemon on the bus, one life of it.
class AvahiDaemon final : public DiscoveryStack, public std::enable_shared_from_this<AvahiDaemon> {
public:
    enum class Standing {
        asked, ///< it has not answered yet
        serving,
        crowded,  ///< it serves, and there may be more services than it keeps
        overdue,  ///< it left all that it can answer by itself unanswered for a second
        silent,   ///< and for two
        refusing, ///< it does not serve us (policy, an old interface), and never will
    };

    /// `changed` is told from the loop how it stands with the daemon from then on, and may drop it.
    [[nodiscard]] static std::shared_ptr<AvahiDaemon> start(const std::shared_ptr<EventLoop>& loop,
                                                            const std::shared_ptr<SystemBus>& bus,
                                                            std::string owner,
                                                            std::function<void(Standing)> changed);

    [[nodiscard]] std::shared_ptr<Lookup> browse(const std::string& type, const std::string& domain,
                                                 Sighted sighted) override;
    [[nodiscard]] std::shared_ptr<Lookup> resolve(const ServiceName& service, int interface,
                                                  bool withTXT, Served served) override;
    [[nodiscard]] std::shared_ptr<Lookup> findAddress(const std::string& host, int interface,
                                                      int family, Addressed addressed) override;

private:
    class Browse;
    class Question;

    AvahiDaemon(const std::shared_ptr<SystemBus>& bus, std::string owner,
                std::function<void(Standing)> changed);
    void stand(Standing standing);
    void prepareWaiting();
    void prepare(const std::shared_ptr<Browse>& browse);
    void itemSignal(sd_bus_message* signal);
    void askByItself(const Daemon::Method& method, const BusArguments& arguments,
                     BusReceiver replied);
    void pulse();
    [[nodiscard]] std::shared_ptr<Lookup> ask(const char* member, BusArguments arguments,
                                              BusReceiver answered);
    void sendWaiting();

    Daemon daemon_;
    std::function<void(Standing)> changed_;
    Standing standing_ = Standing::asked;
    std::deque<std::weak_ptr<Browse>> unprepared_;
    std::map<std::string, std::weak_ptr<Browse>> browses_;
    AvahiCache cache_;
    std::deque<std::weak_ptr<Question>> waiting_;
    int underWay_ = 0;

    std::shared_ptr<Deadline> pulse_;
    int unanswered_ = 0;        ///< of the questions that it can answer by itself
    bool answersSince_ = false; ///< the last beat, some of them
};

} // namespace AmbrelKit::Linux

#endif
