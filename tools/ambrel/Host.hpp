#ifndef AMBREL_HOST_HPP
#define AMBREL_HOST_HPP

#include "tools/ambrel/CollectionOptions.hpp"

#include <AmbrelKit/AmbrelSDKDelegate.hpp>

#include <optional>

namespace Ambrel {

/// The tool as the kit's host: grants the permissions of the command line, knows nothing of the
/// settings, and keeps what was delivered last.
class Host final : public AmbrelKit::AmbrelSDKDelegate {
public:
    explicit Host(const CollectionOptions& options);

    [[nodiscard]] const std::optional<AmbrelKit::JSONDictionary>& delivered() const {
        return delivered_;
    }

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
    std::optional<AmbrelKit::JSONDictionary> delivered_;
};

} // namespace Ambrel

#endif
