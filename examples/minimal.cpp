// Takes one collection and prints it.
// c++ -std=c++20 minimal.cpp -o minimal $(pkg-config --cflags --libs ambrelkit)
#include <AmbrelKit/AmbrelSDK.hpp>
#include <AmbrelKit/Platform/Bundle.hpp>
#include <AmbrelKit/Platform/RunLoop.hpp>

#include <iostream>
#include <nlohmann/json.hpp>

using namespace AmbrelKit;

class Host : public AmbrelSDKDelegate {
    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override {
        std::cout << JSONValue(data).dump(2) << '\n';
        RunLoop::current()->stop();
    }
    // What your users have allowed you; the kit takes your word for it.
    AmbrelPermissionStatus bluetoothSettingStatus() override { return allowed; }
    AmbrelPermissionStatus bluetoothPermissionStatus() override { return allowed; }
    AmbrelPermissionStatus locationSettingStatus() override { return allowed; }
    AmbrelPermissionStatus locationPermissionStatus() override { return allowed; }
    AmbrelPermissionStatus locationPrecisePermissionStatus() override { return allowed; }
    AmbrelPermissionStatus networkSettingStatus() override { return allowed; }
    AmbrelPermissionStatus networkPermissionStatus() override { return allowed; }

    static constexpr auto allowed = AmbrelPermissionStatus::granted;
};

int main() {
    // The DNS-SD types to look for; an Info.json beside the program may list them instead.
    const std::vector<std::string> types{"_ipp._tcp", "_http._tcp"};
    Bundle::main().setInfoDictionary(JSONDictionary{{"NSBonjourServices", types}});
    const auto host = std::make_shared<Host>();
    const auto kit = AmbrelSDK::create();
    kit->setDelegate(host);
    kit->startScanningOnce();
    RunLoop::current()->run();
}
