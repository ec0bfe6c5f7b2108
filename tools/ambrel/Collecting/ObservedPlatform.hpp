#ifndef AMBREL_OBSERVEDPLATFORM_HPP
#define AMBREL_OBSERVEDPLATFORM_HPP

#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Linux/ProcessServices.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// Is told what the platform reports to the kit, each report before the kit receives it.
class PlatformObserver {
public:
    virtual ~PlatformObserver() = default;

    virtual void bluetoothDidUpdateState(AmbrelKit::BluetoothManagerState /*state*/) {}
    /// Whether discoveries are to be told with their advertisement data.
    [[nodiscard]] virtual bool wantsAdvertisementData() const { return false; }
    virtual void bluetoothDidDiscover(const AmbrelKit::Peripheral& /*peripheral*/,
                                      const AmbrelKit::JSONDictionary& /*advertisementData*/,
                                      int /*rssi*/) {}
    virtual void bonjourDidFind(const AmbrelKit::NetService& /*service*/) {}
    virtual void bonjourDidResolve(const AmbrelKit::NetService& /*service*/) {}
    virtual void locationDidChangeAuthorization(AmbrelKit::LocationAuthorizationStatus /*status*/) {
    }
    virtual void locationDidUpdate(const std::vector<AmbrelKit::LocationFix>& /*fixes*/) {}
    virtual void locationDidFail(const std::string& /*error*/) {}
    /// The kit's collection timer was scheduled: a collection has begun.
    virtual void timerDidSchedule() {}
    virtual void timerWillFire() {}
    virtual void networkDidAnswer(const std::optional<std::string>& /*addressIPv4*/,
                                  const std::vector<AmbrelKit::Linux::JoinedNetwork>& /*joined*/) {}
};

/// The same services, whose managers, browsers and timers tell `observer` too.
AmbrelKit::Linux::PlatformServices observed(AmbrelKit::Linux::PlatformServices services,
                                            std::shared_ptr<PlatformObserver> observer);

/// While the handle is kept, the process's answers about the network are told to `observer` too:
/// once a tick, when both are known.
[[nodiscard]] std::shared_ptr<void> observeNetwork(std::shared_ptr<PlatformObserver> observer);

} // namespace Ambrel

#endif
