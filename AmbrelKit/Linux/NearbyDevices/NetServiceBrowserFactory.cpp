#include "AmbrelKit/Linux/NearbyDevices/NetServiceBrowserFactory.hpp"

#include "AmbrelKit/Linux/NearbyDevices/ServiceBrowser.hpp"

namespace AmbrelKit::Linux {

NetServiceBrowserFactory makeNetServiceBrowserFactory(const std::shared_ptr<EventLoop>& loop,
                                                      MDNSStack mdns) {
    return [loop, mdns, browsers = std::make_shared<ServiceBrowser::Siblings>()] {
        const auto browser = std::make_shared<ServiceBrowser>(loop, mdns, browsers);
        browsers->add(browser);
        return browser;
    };
}

} // namespace AmbrelKit::Linux
