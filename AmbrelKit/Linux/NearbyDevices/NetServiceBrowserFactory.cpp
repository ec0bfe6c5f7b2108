#include "AmbrelKit/Linux/NearbyDevices/NetServiceBrowserFactory.hpp"

#include "AmbrelKit/Linux/NearbyDevices/ServiceBrowser.hpp"

namespace AmbrelKit::Linux {

NetServiceBrowserFactory makeNetServiceBrowserFactory(const std::shared_ptr<EventLoop>& loop) {
    return [loop, browsers = std::make_shared<ServiceBrowser::Siblings>()] {
        const auto browser = std::make_shared<ServiceBrowser>(loop, browsers);
        browsers->add(browser);
        return browser;
    };
}

} // namespace AmbrelKit::Linux
