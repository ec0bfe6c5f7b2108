#include "tools/ambrel/Host.hpp"

#include <utility>

namespace Ambrel {

using AmbrelKit::AmbrelPermissionStatus;

namespace {

AmbrelPermissionStatus permission(const CollectionOptions& options, const char* name) {
    return isGranted(options, name) ? AmbrelPermissionStatus::granted
                                    : AmbrelPermissionStatus::denied;
}

} // namespace

Host::Host(const CollectionOptions& options)
    : bluetooth_(permission(options, "bluetooth")), location_(permission(options, "location")),
      network_(permission(options, "network")), status_(AmbrelKit::Linux::HostStatus::start()) {}

void Host::didReceiveUpdateWithCollectedData(const AmbrelKit::JSONDictionary& data) {
    delivered_.push_back(data);
}

AmbrelKit::JSONDictionary Host::takeDelivered() {
    auto data = std::move(delivered_.front());
    delivered_.pop_front();
    return data;
}

AmbrelPermissionStatus Host::bluetoothSettingStatus() { return status_->bluetoothSettingStatus(); }

AmbrelPermissionStatus Host::bluetoothPermissionStatus() { return bluetooth_; }

AmbrelPermissionStatus Host::locationSettingStatus() { return status_->locationSettingStatus(); }

AmbrelPermissionStatus Host::locationPermissionStatus() { return location_; }

AmbrelPermissionStatus Host::locationPrecisePermissionStatus() { return location_; }

AmbrelPermissionStatus Host::networkSettingStatus() { return status_->networkSettingStatus(); }

AmbrelPermissionStatus Host::networkPermissionStatus() { return network_; }

} // namespace Ambrel
