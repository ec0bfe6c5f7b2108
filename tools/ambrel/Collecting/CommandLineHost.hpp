#ifndef AMBREL_COMMANDLINEHOST_HPP
#define AMBREL_COMMANDLINEHOST_HPP

#include "tools/ambrel/Collecting/CollectionOptions.hpp"

#include "AmbrelKit/Linux/HostStatus.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <AmbrelKit/AmbrelSDKDelegate.hpp>

#include <deque>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

namespace Ambrel {

struct Delivery {
    AmbrelKit::JSONDictionary data;
    AmbrelKit::JSONDictionary outcome; ///< how the sources fared, where that is asked for
    std::vector<AmbrelKit::SourceReport> sources; ///< the same; empty: it was delivered before
};

/// The tool as the kit's host: grants the permissions of the command line, has the settings from
/// the system, and keeps what is delivered until it is taken.
class CommandLineHost final : public AmbrelKit::AmbrelSDKDelegate {
public:
    explicit CommandLineHost(const CollectionOptions& options);

    [[nodiscard]] bool hasDelivered() const { return !delivered_.empty(); }
    /// The oldest that has not been taken yet. There must be one.
    Delivery takeDelivered();

    /// `complete` adds to each delivery, when it comes, how the sources have fared.
    void setComplete(std::function<void(Delivery&)> complete) { complete_ = std::move(complete); }

    void didReceiveUpdateWithCollectedData(const AmbrelKit::JSONDictionary& data) override;
    AmbrelKit::AmbrelPermissionStatus bluetoothSettingStatus() override;
    AmbrelKit::AmbrelPermissionStatus bluetoothPermissionStatus() override;
    AmbrelKit::AmbrelPermissionStatus locationSettingStatus() override;
    AmbrelKit::AmbrelPermissionStatus locationPermissionStatus() override;
    AmbrelKit::AmbrelPermissionStatus locationPrecisePermissionStatus() override;
    AmbrelKit::AmbrelPermissionStatus networkSettingStatus() override;
    AmbrelKit::AmbrelPermissionStatus networkPermissionStatus() override;

private:
    AmbrelKit::AmbrelPermissionStatus bluetooth_;
    AmbrelKit::AmbrelPermissionStatus location_;
    AmbrelKit::AmbrelPermissionStatus network_;
    std::shared_ptr<AmbrelKit::Linux::HostStatus> status_;
    std::function<void(Delivery&)> complete_ = [](Delivery& /*delivery*/) {};
    std::deque<Delivery> delivered_;
};

} // namespace Ambrel

#endif
