#ifndef AMBRELKIT_SIMULATED_SERVICEDISCOVERY_HPP
#define AMBRELKIT_SIMULATED_SERVICEDISCOVERY_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/NetServiceBrowser.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"
#include "AmbrelKit/Simulated/Context.hpp"
#include "AmbrelKit/Simulated/Sources.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit::Simulated {

/// What a resolved DNS-SD service has to tell, in the forms of `NetService`.
struct ServiceRecords {
    /// Socket addresses, as `NetService::addresses` has them; absent until resolved.
    std::optional<std::vector<std::string>> addresses;
    /// The TXT record's bytes as on the wire; absent for none.
    std::optional<std::string> txt;
    /// The name of the host; for details, never in the dictionary.
    std::optional<std::string> hostName = {};
    /// The interface on which it was found; the same.
    std::optional<std::string> interface = {};
};

/// A local network whose DNS-SD services are found and resolved when it is told so. Types and names
/// are compared by their bytes. There is one service object for each type and name, made when it is
/// found first and kept as long as the network.
class ServiceDiscovery {
public:
    /// A `Platform` makes it.
    AMBRELKIT_API ServiceDiscovery(std::shared_ptr<Context> context,
                                   std::shared_ptr<Sources> sources);

    /// What a `NetServiceBrowserFactory` does.
    [[nodiscard]] AMBRELKIT_API std::shared_ptr<NetServiceBrowser> makeBrowser();

    /// The oldest living browser with a delegate that searches for `type` reports the service.
    /// Without such a browser nothing is found.
    AMBRELKIT_API void reportFound(const std::string& type, const std::string& name);

    /// The service, if it was found before, takes these records, and reports that it resolved if it
    /// has a delegate.
    AMBRELKIT_API void reportResolved(const std::string& type, const std::string& name,
                                      ServiceRecords records);

private:
    class Browser;
    class Service;

    std::shared_ptr<Context> context_;
    std::shared_ptr<Sources> sources_;
    WeakList<Browser> browsers_; ///< oldest first
    std::map<std::string, std::map<std::string, std::shared_ptr<Service>>> services_;
};

} // namespace AmbrelKit::Simulated

#endif
