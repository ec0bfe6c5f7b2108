#include "AmbrelKit/Internal/Logic/PermissionsHelper.hpp"

#include "AmbrelKit/Internal/Models/AmbrelAnalytics.hpp"

#include <utility>

namespace AmbrelKit {

namespace {

template <AmbrelPermissionStatus (PermissionsHelperDelegate::*query)()>
AmbrelPermissionStatus ask() {
    const auto delegate = PermissionsHelper::instance().delegate();
    return delegate ? (*delegate.*query)() : AmbrelPermissionStatus::unknown;
}

} // namespace

PermissionsHelper& PermissionsHelper::instance() {
    static auto& helper = *new PermissionsHelper;
    return helper;
}

void PermissionsHelper::setPermissionsDelegate(std::weak_ptr<PermissionsHelperDelegate> delegate) {
    instance().delegate_ = std::move(delegate);
}

AmbrelPermissionStatus PermissionsHelper::bluetoothPermissionStatus() {
    return ask<&PermissionsHelperDelegate::bluetoothPermissionStatus>();
}

AmbrelPermissionStatus PermissionsHelper::bluetoothSettingStatus() {
    return ask<&PermissionsHelperDelegate::bluetoothSettingStatus>();
}

AmbrelPermissionStatus PermissionsHelper::networkPermissionStatus() {
    return ask<&PermissionsHelperDelegate::networkPermissionStatus>();
}

AmbrelPermissionStatus PermissionsHelper::networkSettingStatus() {
    return ask<&PermissionsHelperDelegate::networkSettingStatus>();
}

AmbrelPermissionStatus PermissionsHelper::locationPermissionStatus() {
    return ask<&PermissionsHelperDelegate::locationPermissionStatus>();
}

AmbrelPermissionStatus PermissionsHelper::locationPrecisePermissionStatus() {
    return ask<&PermissionsHelperDelegate::locationPrecisePermissionStatus>();
}

AmbrelPermissionStatus PermissionsHelper::locationSettingStatus() {
    return ask<&PermissionsHelperDelegate::locationSettingStatus>();
}

AmbrelAnalytics::AmbrelAnalytics()
    : bluetoothPermission(value(PermissionsHelper::bluetoothPermissionStatus())),
      bluetoothSetting(value(PermissionsHelper::bluetoothSettingStatus())),
      networkPermission(value(PermissionsHelper::networkPermissionStatus())),
      networkSetting(value(PermissionsHelper::networkSettingStatus())),
      locationPermission(value(PermissionsHelper::locationPermissionStatus())),
      locationPrecisePermission(value(PermissionsHelper::locationPrecisePermissionStatus())),
      locationSetting(value(PermissionsHelper::locationSettingStatus())) {}

} // namespace AmbrelKit
