#ifndef AMBREL_DETAILSFILE_HPP
#define AMBREL_DETAILSFILE_HPP

#include "tools/ambrel/Collecting/ObservedPlatform.hpp"
#include "tools/ambrel/Collecting/ResultFile.hpp"

#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ambrel {

/// Writes what the platform reports, with what the dictionary leaves out: one JSON object a line,
/// as docs/details.schema.json has it.
class DetailsFile final : public PlatformObserver {
public:
    /// What is thrown is what `ResultFile` throws.
    DetailsFile(std::string name, ResultFile::Earlier earlier) : file_(std::move(name), earlier) {}

    /// Has what was reported since the last time in the file.
    void finish() { file_.finish(); }

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
    void write(AmbrelKit::Source source, const char* report, const AmbrelKit::JSONDictionary& told);

    ResultFile file_;
    // As written last in this collection: the network is asked for at each tick.
    std::optional<AmbrelKit::JSONValue> address_;
    std::optional<AmbrelKit::JSONValue> joined_;
};

} // namespace Ambrel

#endif
