#include "AmbrelKit/C/Delegate.hpp"

#include "AmbrelKit/Platform/JSONText.hpp"

namespace AmbrelKit::C {

using Status = AmbrelPermissionStatus;

void Delegate::didReceiveUpdateWithCollectedData(const JSONDictionary& data) {
    if (const auto receive = callbacks_->did_receive_update_with_collected_data) {
        const std::string json = writeJSON(data);
        checked(receive(callbacks_->context, json.c_str(), json.size()));
    }
}

Status Delegate::ask(int question) const {
    std::int64_t answer = AMBREL_STATUS_UNKNOWN;
    if (callbacks_->status != nullptr) {
        checked(callbacks_->status(callbacks_->context, question, &answer));
    }
    return static_cast<Status>(answer);
}

Status Delegate::bluetoothSettingStatus() { return ask(AMBREL_BLUETOOTH_SETTING); }
Status Delegate::bluetoothPermissionStatus() { return ask(AMBREL_BLUETOOTH_PERMISSION); }
Status Delegate::locationSettingStatus() { return ask(AMBREL_LOCATION_SETTING); }
Status Delegate::locationPermissionStatus() { return ask(AMBREL_LOCATION_PERMISSION); }
Status Delegate::locationPrecisePermissionStatus() {
    return ask(AMBREL_LOCATION_PRECISE_PERMISSION);
}
Status Delegate::networkSettingStatus() { return ask(AMBREL_NETWORK_SETTING); }
Status Delegate::networkPermissionStatus() { return ask(AMBREL_NETWORK_PERMISSION); }

} // namespace AmbrelKit::C
