#ifndef AMBRELKIT_INTERNAL_LOGIC_NEARBYDEVICESPROVIDER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_NEARBYDEVICESPROVIDER_HPP

#include "AmbrelKit/Internal/Models/NearbyDevice.hpp"
#include "AmbrelKit/Platform/NetServiceBrowser.hpp"

#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace AmbrelKit {

/// Receives what the provider finds.
class NearbyDevicesProviderDelegate {
public:
    virtual ~NearbyDevicesProviderDelegate() = default;
    virtual void didFindNearbyDevice(const NearbyDevice& device) = 0;
};

/// Browses for services of the listed types, resolves each, and reports every resolution; merging
/// them is not its work.
class NearbyDevicesProvider final : public NetServiceBrowserDelegate,
                                    public NetServiceDelegate,
                                    public std::enable_shared_from_this<NearbyDevicesProvider> {
public:
    /// `bonjourServices` absent or empty: nothing is ever browsed.
    NearbyDevicesProvider(std::optional<std::vector<std::string>> bonjourServices,
                          NetServiceBrowserFactory netServiceBrowserFactory);

    void setDelegate(std::weak_ptr<NearbyDevicesProviderDelegate> delegate);

    /// Adds a browser for each type; earlier ones go on.
    void start();
    /// Lets go of every browser and service.
    void stop();

    void netServiceBrowserDidFindService(NetServiceBrowser& browser,
                                         const std::shared_ptr<NetService>& service,
                                         bool moreComing) override;
    void netServiceDidResolveAddress(NetService& service) override;

private:
    std::weak_ptr<NearbyDevicesProviderDelegate> delegate_;
    std::optional<std::vector<std::string>> bonjourServices_;
    NetServiceBrowserFactory netServiceBrowserFactory_;
    std::unordered_set<std::shared_ptr<NetServiceBrowser>> browsers_;
    std::unordered_set<std::shared_ptr<NetService>> services_;
};

} // namespace AmbrelKit

#endif
