#ifndef AMBREL_OBSERVEDPLATFORM_HPP
#define AMBREL_OBSERVEDPLATFORM_HPP

#include "AmbrelKit/Linux/Platform.hpp"

#include <memory>
#include <string>
#include <vector>

namespace Ambrel {

/// Is told what the platform reports to the kit, each report before the kit receives it.
class PlatformObserver {
public:
    virtual ~PlatformObserver() = default;

    virtual void bluetoothDidUpdateState(AmbrelKit::BluetoothManagerState /*state*/) {}
    virtual void bluetoothDidDiscover(const AmbrelKit::Peripheral& /*peripheral*/) {}
    virtual void bonjourDidFind(const AmbrelKit::NetService& /*service*/) {}
    virtual void bonjourDidResolve(const AmbrelKit::NetService& /*service*/) {}
    virtual void locationDidChangeAuthorization(AmbrelKit::LocationAuthorizationStatus /*status*/) {
    }
    virtual void locationDidUpdate(const std::vector<AmbrelKit::LocationFix>& /*fixes*/) {}
    virtual void locationDidFail(const std::string& /*error*/) {}
};

/// The same services, whose managers and browsers tell `observer` too.
AmbrelKit::Linux::PlatformServices observed(AmbrelKit::Linux::PlatformServices services,
                                            std::shared_ptr<PlatformObserver> observer);

} // namespace Ambrel

#endif
