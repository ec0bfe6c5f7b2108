#ifndef AMBREL_TESTS_SUPPORT_QUIETHOST_HPP
#define AMBREL_TESTS_SUPPORT_QUIETHOST_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <AmbrelKit/AmbrelSDKDelegate.hpp>

#include <functional>
#include <nlohmann/json.hpp>

/// Grants the network alone, unless told otherwise: where no service type is looked for, nothing
/// leaves the machine.
class QuietHost final : public AmbrelKit::AmbrelSDKDelegate {
    using Status = AmbrelKit::AmbrelPermissionStatus;

public:
    void didReceiveUpdateWithCollectedData(const AmbrelKit::JSONDictionary& data) override {
        last = data;
        ++deliveries;
        delivered();
    }
    Status bluetoothSettingStatus() override { return {}; }
    Status bluetoothPermissionStatus() override { return bluetooth; }
    Status locationSettingStatus() override { return {}; }
    Status locationPermissionStatus() override { return location; }
    Status locationPrecisePermissionStatus() override { return {}; }
    Status networkSettingStatus() override { return {}; }
    Status networkPermissionStatus() override { return network; }

    Status bluetooth = Status::unknown;
    Status location = Status::unknown;
    Status network = Status::granted;
    int deliveries = 0;
    AmbrelKit::JSONDictionary last;
    std::function<void()> delivered = [] {};
};

#endif
