// Refuses every permission, so that the real platform delivers at once.
#include <AmbrelKit/AmbrelSDK.hpp>
#include <AmbrelKit/Linux/HostStatus.hpp>
#include <AmbrelKit/Linux/PlatformServices.hpp>
#include <AmbrelKit/Platform/Bundle.hpp>
#include <AmbrelKit/Platform/RunLoop.hpp>

#include <iostream>
#include <nlohmann/json.hpp>

using namespace AmbrelKit;

class Host final : public AmbrelSDKDelegate {
public:
    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override {
        std::cout << JSONValue(data) << '\n';
    }
    AmbrelPermissionStatus bluetoothSettingStatus() override { return {}; }
    AmbrelPermissionStatus bluetoothPermissionStatus() override { return {}; }
    AmbrelPermissionStatus locationSettingStatus() override { return {}; }
    AmbrelPermissionStatus locationPermissionStatus() override { return {}; }
    AmbrelPermissionStatus locationPrecisePermissionStatus() override { return {}; }
    AmbrelPermissionStatus networkSettingStatus() override {
        return system->networkSettingStatus();
    }
    AmbrelPermissionStatus networkPermissionStatus() override { return {}; }

private:
    std::shared_ptr<Linux::HostStatus> system = Linux::HostStatus::start();
};

int main() {
    Bundle::main().setInfoDictionary(JSONDictionary{{"NSBonjourServices", {"_ipp._tcp"}}});
    const auto host = std::make_shared<Host>();
    const auto kit = AmbrelSDK::create();
    kit->setDelegate(host);
    kit->startScanningOnce();
    try {
        kit->setAmbrelTimeThreshold(31);
    } catch (const AmbrelError& error) {
        std::cout << error.what() << '\n';
    }
    RunLoop::current()->dispatch();
    return Linux::platformServices().bonjourServices ? 0 : 1;
}
