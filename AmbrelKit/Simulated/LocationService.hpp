#ifndef AMBRELKIT_SIMULATED_LOCATIONSERVICE_HPP
#define AMBRELKIT_SIMULATED_LOCATIONSERVICE_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/LocationManager.hpp"
#include "AmbrelKit/Simulated/Context.hpp"
#include "AmbrelKit/Simulated/Sources.hpp"

#include <memory>
#include <string>
#include <vector>

namespace AmbrelKit::Simulated {

/// A location service that reports what it is told to, through the newest manager that it made, if
/// that lives and has a delegate; otherwise nobody hears it. A new manager tells nothing by itself.
class LocationService {
public:
    /// A `Platform` makes it.
    AMBRELKIT_API LocationService(std::shared_ptr<Context> context,
                                  std::shared_ptr<Sources> sources);

    /// What a `LocationManagerFactory` does.
    [[nodiscard]] AMBRELKIT_API std::shared_ptr<LocationManager> makeManager();

    /// The newest manager reports it, within this call.
    AMBRELKIT_API void reportAuthorization(LocationAuthorizationStatus status);

    /// Reports fixes, oldest first, whether they were asked for or not.
    AMBRELKIT_API void reportUpdate(const std::vector<LocationFix>& fixes);

    /// The newest manager reports a failure with this text, within this call.
    AMBRELKIT_API void reportFailure(const std::string& error);

private:
    class Manager;

    std::shared_ptr<Context> context_;
    std::shared_ptr<Sources> sources_;
    std::weak_ptr<Manager> newest_;
};

} // namespace AmbrelKit::Simulated

#endif
