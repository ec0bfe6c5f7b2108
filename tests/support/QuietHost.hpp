#ifndef AMBREL_TESTS_SUPPORT_QUIETHOST_HPP
#define AMBREL_TESTS_SUPPORT_QUIETHOST_HPP

#include <AmbrelKit/AmbrelSDKDelegate.hpp>

#include <functional>

/// Grants the network alone, for which no service type is looked for: nothing leaves the machine.
class QuietHost final : public AmbrelKit::AmbrelSDKDelegate {
    using Status = AmbrelKit::AmbrelPermissionStatus;

public:
    void didReceiveUpdateWithCollectedData(const AmbrelKit::JSONDictionary& /*data*/) override {
        ++deliveries;
        delivered();
    }
    Status bluetoothSettingStatus() override { return {}; }
    Status bluetoothPermissionStatus() override { return {}; }
    Status locationSettingStatus() override { return {}; }
    Status locationPermissionStatus() override { return {}; }
    Status locationPrecisePermissionStatus() override { return {}; }
    Status networkSettingStatus() override { return {}; }
    Status networkPermissionStatus() override { return Status::granted; }

    int deliveries = 0;
    std::function<void()> delivered = [] {};
};

#endif
