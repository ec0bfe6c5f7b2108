// DNS-SD was left out of this build.

#include "AmbrelKit/Linux/NearbyDevices/AnnouncedServiceTypes.hpp"
#include "AmbrelKit/Linux/NearbyDevices/NetServiceBrowserFactory.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

class SilentBrowser final : public NetServiceBrowser {
public:
    [[nodiscard]] std::shared_ptr<NetServiceBrowserDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<NetServiceBrowserDelegate> delegate) override {
        delegate_ = std::move(delegate);
    }
    void searchForServicesOfType(const std::string& /*type*/,
                                 const std::string& /*domain*/) override {}

private:
    std::weak_ptr<NetServiceBrowserDelegate> delegate_;
};

} // namespace

NetServiceBrowserFactory makeNetServiceBrowserFactory(const std::shared_ptr<EventLoop>& /*loop*/,
                                                      MDNSStack /*mdns*/) {
    return [] { return std::make_shared<SilentBrowser>(); };
}

std::shared_ptr<AnnouncedServiceTypes> AnnouncedServiceTypes::start(Appeared /*appeared*/,
                                                                    const std::string& /*domain*/,
                                                                    MDNSStack /*mdns*/) {
    return std::make_shared<AnnouncedServiceTypes>();
}

} // namespace AmbrelKit::Linux
