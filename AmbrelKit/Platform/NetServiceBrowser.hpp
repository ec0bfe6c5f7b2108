#ifndef AMBRELKIT_PLATFORM_NETSERVICEBROWSER_HPP
#define AMBRELKIT_PLATFORM_NETSERVICEBROWSER_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/NetService.hpp"

#include <functional>
#include <memory>
#include <string>

namespace AmbrelKit {

class NetServiceBrowser;

/// Receives a browser's reports, on the thread that made the browser. The receiver may call the
/// browser, or let go of it, inside a report; what it throws leaves through the run loop.
class AMBRELKIT_API NetServiceBrowserDelegate {
public:
    virtual ~NetServiceBrowserDelegate() = default;

    /// A service was found. The browser does not keep it: who wants it resolved holds on to it.
    /// `moreComing` is true when further services follow at once.
    virtual void netServiceBrowserDidFindService(NetServiceBrowser& browser,
                                                 const std::shared_ptr<NetService>& service,
                                                 bool moreComing) = 0;
};

/// Searches the local network for DNS-SD services of one type. Used on one thread, the one that
/// made it. Releasing a browser ends its search.
class AMBRELKIT_API NetServiceBrowser {
public:
    virtual ~NetServiceBrowser() = default;

    /// The receiver of the reports, or null. Not owned.
    [[nodiscard]] virtual std::shared_ptr<NetServiceBrowserDelegate> delegate() const = 0;

    /// Replaces the receiver. Once it is absent nothing is reported any more.
    virtual void setDelegate(std::weak_ptr<NetServiceBrowserDelegate> delegate) = 0;

    /// Begins to search for services of `type` ("_ipp._tcp.", the trailing dot may be missing; or a
    /// subtype, "_colour._sub._ipp._tcp.", which finds those services of the type that have it) in
    /// `domain` (empty: the default browsing domains of the platform). Reports come from the run
    /// loop, never from inside this call. A type or domain that the platform refuses gives no
    /// report.
    virtual void searchForServicesOfType(const std::string& type, const std::string& domain) = 0;
};

/// Makes a new browser at each call.
using NetServiceBrowserFactory = std::function<std::shared_ptr<NetServiceBrowser>()>;

} // namespace AmbrelKit

#endif
