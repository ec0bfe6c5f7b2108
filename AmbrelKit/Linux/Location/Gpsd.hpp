#ifndef AMBRELKIT_LINUX_LOCATION_GPSD_HPP
#define AMBRELKIT_LINUX_LOCATION_GPSD_HPP

#include "AmbrelKit/Linux/Location/GpsdReport.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Linux/RunLoop/Retry.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"

#include <sys/socket.h>

namespace AmbrelKit::Linux {

/// Where gpsd listens.
struct GpsdEndpoint {
    /// Throws std::invalid_argument when `host` is not a numeric address: looking a name up would
    /// wait.
    GpsdEndpoint(const std::string& host, std::uint16_t port);

    std::string place; ///< for people
    sockaddr_storage address{};
    socklen_t size = 0;
};

/// Fixes from gpsd's JSON socket. While the source lives, a gpsd that is not there or has gone is
/// tried again, at first soon and then less often.
class Gpsd final : public LocationSource, public std::enable_shared_from_this<Gpsd> {
public:
    static std::shared_ptr<Gpsd> start(const std::shared_ptr<EventLoop>& loop,
                                       const GpsdEndpoint& endpoint,
                                       std::weak_ptr<LocationSourceOwner> owner);

    [[nodiscard]] SourceCondition condition() const override { return condition_; }

private:
    Gpsd(const std::shared_ptr<EventLoop>& loop, GpsdEndpoint endpoint);
    void connect();
    void socketReady();
    [[nodiscard]] bool watchReports();
    void readReports();
    void retryLater(SourceReason why = SourceReason::gpsdAbsent);
    void become(const SourceCondition& condition);
    [[nodiscard]] std::string means() const { return "gpsd at " + endpoint_.place; }

    std::weak_ptr<EventLoop> loop_;
    GpsdEndpoint endpoint_;
    std::weak_ptr<LocationSourceOwner> owner_;
    SourceCondition condition_;
    Retry reconnect_;
    Descriptor socket_;
    bool connected_ = false;
    std::shared_ptr<DescriptorWatch> watch_;
    LineSplitter lines_;
};

} // namespace AmbrelKit::Linux

#endif
