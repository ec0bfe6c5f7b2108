#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIDAEMON_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIDAEMON_HPP

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"

#include <deque>
#include <map>

namespace AmbrelKit::Linux {

/// avahi-daemon on the bus, one life of it: its unique name is the address, so that signals of
/// others are not heard and nothing reaches a successor.
class AvahiDaemon final : public DiscoveryStack, public std::enable_shared_from_this<AvahiDaemon> {
public:
    /// `refused` is told when the daemon is there and does not serve us (policy, an old interface).
    [[nodiscard]] static std::shared_ptr<AvahiDaemon>
    start(const std::shared_ptr<SystemBus>& bus, std::string owner, std::function<void()> refused);

    [[nodiscard]] std::shared_ptr<Lookup> browse(const std::string& type, const std::string& domain,
                                                 Sighted sighted) override;
    [[nodiscard]] std::shared_ptr<Lookup> resolve(const ServiceName& service, int interface,
                                                  bool withTXT, Served served) override;
    [[nodiscard]] std::shared_ptr<Lookup> findAddress(const std::string& host, int interface,
                                                      int family, Addressed addressed) override;

private:
    class Browse;
    class Question;

    AvahiDaemon(std::shared_ptr<SystemBus> bus, std::string owner, std::function<void()> refused);
    void itemSignal(sd_bus_message* signal);
    [[nodiscard]] std::shared_ptr<Lookup> ask(const char* member, BusArguments arguments,
                                              BusReceiver answered);
    void sendWaiting();

    std::shared_ptr<SystemBus> bus_;
    std::string owner_;
    std::function<void()> refused_;
    std::shared_ptr<SignalMatch> items_;
    std::map<std::string, std::weak_ptr<Browse>> browses_;
    std::deque<std::weak_ptr<Question>> waiting_;
    int underWay_ = 0;
};

} // namespace AmbrelKit::Linux

#endif
