#ifndef AMBRELKIT_INTERNAL_MODELS_AMBRELANALYTICS_HPP
#define AMBRELKIT_INTERNAL_MODELS_AMBRELANALYTICS_HPP

#include "AmbrelKit/Internal/Extensions/JSONEncoder.hpp"

#include <optional>

namespace AmbrelKit {

/// The user's permissions and settings, as the host has answered them.
struct AmbrelAnalytics {
    /// A snapshot: asks each of the seven statuses once, in the order of the fields. Defined with
    /// the permissions helper.
    AmbrelAnalytics();

    /// The snapshot that `json` holds; a missing key or null gives an absent field. Nothing when a
    /// key holds anything but a boolean, or `json` is not a dictionary.
    static std::optional<AmbrelAnalytics> decode(const JSONValue& json);

    std::optional<bool> bluetoothPermission;
    std::optional<bool> bluetoothSetting;
    std::optional<bool> networkPermission;
    std::optional<bool> networkSetting;
    std::optional<bool> locationPermission;
    std::optional<bool> locationPrecisePermission;
    std::optional<bool> locationSetting;

    friend bool operator==(const AmbrelAnalytics&, const AmbrelAnalytics&) = default;

    [[nodiscard]] JSONValue encode(const JSONEncoder& encoder) const;

private:
    struct Unasked {};
    explicit AmbrelAnalytics(Unasked /*tag*/) {}
};

} // namespace AmbrelKit

#endif
