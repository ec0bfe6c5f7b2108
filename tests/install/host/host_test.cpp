// A host's own test: the simulated platform alone, ten seconds in no time.
#include <AmbrelKit/AmbrelSDK.hpp>
#include <AmbrelKit/Simulated/Platform.hpp>

#include <iostream>
#include <nlohmann/json.hpp>

using namespace AmbrelKit;
using namespace std::chrono_literals;

class Host final : public AmbrelSDKDelegate {
public:
    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override {
        std::cout << JSONValue(data) << '\n';
    }
    AmbrelPermissionStatus bluetoothSettingStatus() override { return granted; }
    AmbrelPermissionStatus bluetoothPermissionStatus() override { return granted; }
    AmbrelPermissionStatus locationSettingStatus() override { return granted; }
    AmbrelPermissionStatus locationPermissionStatus() override { return granted; }
    AmbrelPermissionStatus locationPrecisePermissionStatus() override { return granted; }
    AmbrelPermissionStatus networkSettingStatus() override { return granted; }
    AmbrelPermissionStatus networkPermissionStatus() override { return granted; }

private:
    static constexpr auto granted = AmbrelPermissionStatus::granted;
};

int main() {
    Simulated::Platform platform;
    const auto host = std::make_shared<Host>();
    const auto kit = platform.createSDK(std::nullopt);
    kit->setDelegate(host);
    kit->startScanningOnce();
    platform.bluetooth().reportState(BluetoothManagerState::poweredOn);
    platform.bluetooth().reportDiscovery({.identifier = UUID(), .name = "Lamp"});
    platform.clock().advanceBy(11s);
}
