#include "AmbrelKit/Linux/NearbyDevices/NetServiceBrowserFactory.hpp"

#include "AmbrelKit/Linux/NearbyDevices/ServiceBrowser.hpp"

namespace AmbrelKit::Linux {

NetServiceBrowserFactory makeNetServiceBrowserFactory(const std::shared_ptr<EventLoop>& loop) {
    return [loop] { return std::make_shared<ServiceBrowser>(loop); };
}

} // namespace AmbrelKit::Linux
