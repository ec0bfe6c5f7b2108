#ifndef AMBREL_DETAILEDREPORTS_HPP
#define AMBREL_DETAILEDREPORTS_HPP

#include "tools/ambrel/Collecting/ObservedPlatform.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// To the microsecond.
double secondsSince1970(std::chrono::system_clock::time_point time);

/// Has each report of the platform with what the dictionary leaves out, as docs/details.schema.json
/// has it.
class DetailedReports : public PlatformObserver {
public:
    [[nodiscard]] bool wantsAdvertisementData() const override { return true; }
    void bluetoothDidUpdateState(AmbrelKit::BluetoothManagerState state) override;
    void bluetoothDidDiscover(const AmbrelKit::Peripheral& peripheral,
                              const AmbrelKit::JSONDictionary& advertisementData,
                              int rssi) override;
    void bonjourDidFind(const AmbrelKit::NetService& service) override;
    void bonjourDidResolve(const AmbrelKit::NetService& service) override;
    void locationDidChangeAuthorization(AmbrelKit::LocationAuthorizationStatus status) override;
    void locationDidUpdate(const std::vector<AmbrelKit::LocationFix>& fixes) override;
    void locationDidFail(const std::string& error) override;
    void timerDidSchedule() override;
    void networkDidAnswer(const std::optional<std::string>& addressIPv4,
                          const std::vector<AmbrelKit::Linux::JoinedNetwork>& joined) override;

private:
    /// `report` is the schema's word for what was reported, and `details` the keys beside that.
    virtual void told(AmbrelKit::Source source, const char* report,
                      const AmbrelKit::JSONDictionary& details) = 0;

    // As told last in this collection: the network is asked for at each tick.
    std::optional<AmbrelKit::JSONValue> address_;
    std::optional<AmbrelKit::JSONValue> joined_;
};

} // namespace Ambrel

#endif
