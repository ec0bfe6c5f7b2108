#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_FOUNDSERVICE_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_FOUNDSERVICE_HPP

#include "AmbrelKit/Linux/NearbyDevices/QuestionOrder.hpp"
#include "AmbrelKit/Linux/NearbyDevices/StackChoice.hpp"
#include "AmbrelKit/Linux/RunLoop/Retry.hpp"
#include "AmbrelKit/Platform/NetService.hpp"

namespace AmbrelKit::Linux {

/// A service that a browser has found.
///
/// Resolving is asking for the host, port and TXT record, then for the host's IPv4 address; when
/// that has not come within a second, for its IPv6 address too. The addresses are asked for by
/// every protocol: a responder need not give the IPv4 address over IPv6. An answer with only the
/// IPv6 address is reported, and once more with the IPv4 address should that follow; so is one
/// without TXT record, should that follow. Without an answer everything is asked again, less and
/// less often.
class FoundService final : public NetService,
                           public StackChoice::Client,
                           public std::enable_shared_from_this<FoundService> {
public:
    [[nodiscard]] static std::shared_ptr<FoundService> make(std::shared_ptr<EventLoop> loop,
                                                            std::shared_ptr<StackChoice> discovery,
                                                            ServiceName service, int interface);

    [[nodiscard]] std::shared_ptr<NetServiceDelegate> delegate() const override;
    void setDelegate(std::weak_ptr<NetServiceDelegate> delegate) override;
    void resolveWithTimeout(double seconds) override;
    [[nodiscard]] std::string name() const override;
    [[nodiscard]] std::string type() const override;
    [[nodiscard]] std::optional<std::vector<std::string>> addresses() const override;
    [[nodiscard]] std::optional<std::string> TXTRecordData() const override;
    [[nodiscard]] std::optional<std::string> hostName() const override;
    [[nodiscard]] std::optional<std::string> interface() const override;

    /// The service was seen on `interface`, where it can be asked for.
    void seenOn(int interface);

    void stackChanged() override;

private:
    FoundService(std::shared_ptr<EventLoop> loop, std::shared_ptr<StackChoice> discovery,
                 ServiceName service, int interface);
    void begin();
    void ask();
    void askAddress(int family);
    void served(const std::optional<ServiceRecord>& record);
    void addressed(int family, const std::optional<HostAddress>& address);
    void noAddress();
    void reached();
    void forgetLookups();
    void end();
    void report();

    std::shared_ptr<EventLoop> loop_;
    std::shared_ptr<StackChoice> discovery_;
    ServiceName service_;
    QuestionOrder order_;
    std::weak_ptr<NetServiceDelegate> delegate_;
    std::optional<ServiceRecord> record_;
    std::vector<std::string> addresses_;
    int interface_; ///< where it was seen first, or what is above was told

    // Of the time in which it resolves.
    bool resolving_ = false;
    bool reported_ = false;
    std::shared_ptr<Deadline> limit_;
    std::optional<Retry> retry_;

    // Of one attempt.
    QuestionOrder::Question asked_;
    bool askedIPv6_ = false;
    std::shared_ptr<Lookup> lookup_;
    std::shared_ptr<Deadline> ipv4Patience_;
    std::shared_ptr<Lookup> ipv4_;
    std::shared_ptr<Lookup> ipv6_;
    ServiceRecord target_;
    std::vector<std::string> found_;
};

} // namespace AmbrelKit::Linux

#endif
