#ifndef AMBRELKIT_AMBRELPERMISSIONSTATUS_HPP
#define AMBRELKIT_AMBRELPERMISSIONSTATUS_HPP

#include <cstdint>
#include <optional>

namespace AmbrelKit {

/// What a host knows of a permission or a setting. A host may answer with another number (a cast):
/// it is carried unchanged, counts as not granted, and has no truth value.
enum class AmbrelPermissionStatus : std::int64_t {
    unknown = 0, ///< not known, not decided yet, or not answered
    granted = 1, ///< the permission is granted, the setting is on
    denied = 2,  ///< the permission is refused, the setting is off
};

/// The status of this raw value; nothing for any other than 0, 1 and 2.
[[nodiscard]] constexpr std::optional<AmbrelPermissionStatus>
permissionStatus(std::int64_t rawValue) {
    return rawValue >= 0 && rawValue <= 2
               ? std::optional(static_cast<AmbrelPermissionStatus>(rawValue))
               : std::nullopt;
}

/// True for granted, false for denied, nothing for everything else.
[[nodiscard]] constexpr std::optional<bool> value(AmbrelPermissionStatus status) {
    switch (status) {
    case AmbrelPermissionStatus::granted:
        return true;
    case AmbrelPermissionStatus::denied:
        return false;
    default:
        return std::nullopt;
    }
}

} // namespace AmbrelKit

#endif
