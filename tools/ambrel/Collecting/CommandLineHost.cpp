#include "tools/ambrel/Collecting/CommandLineHost.hpp"

#include <utility>

namespace Ambrel {

using AmbrelKit::AmbrelPermissionStatus;

namespace {

AmbrelPermissionStatus permission(const CollectionOptions& options, const char* name) {
    return isGranted(options, name) ? AmbrelPermissionStatus::granted
                                    : AmbrelPermissionStatus::denied;
}

} // namespace

CommandLineHost::CommandLineHost(const CollectionOptions& options)
    : bluetooth_(permission(options, "bluetooth")), location_(permission(options, "location")),
      network_(permission(options, "network")), status_(AmbrelKit::Linux::HostStatus::start()) {}

void CommandLineHost::didReceiveUpdateWithCollectedData(const AmbrelKit::JSONDictionary& data) {
    delivered_.push_back({.data = data, .outcome = {}, .sources = {}});
    complete_(delivered_.back());
}

Delivery CommandLineHost::takeDelivered() {
    auto delivery = std::move(delivered_.front());
    delivered_.pop_front();
    return delivery;
}

AmbrelPermissionStatus CommandLineHost::bluetoothSettingStatus() {
    return status_->bluetoothSettingStatus();
}

AmbrelPermissionStatus CommandLineHost::bluetoothPermissionStatus() { return bluetooth_; }

AmbrelPermissionStatus CommandLineHost::locationSettingStatus() {
    return status_->locationSettingStatus();
}

AmbrelPermissionStatus CommandLineHost::locationPermissionStatus() { return location_; }

AmbrelPermissionStatus CommandLineHost::locationPrecisePermissionStatus() { return location_; }

AmbrelPermissionStatus CommandLineHost::networkSettingStatus() {
    return status_->networkSettingStatus();
}

AmbrelPermissionStatus CommandLineHost::networkPermissionStatus() { return network_; }

} // namespace Ambrel
