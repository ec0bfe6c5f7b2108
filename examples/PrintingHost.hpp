// What the examples with a loop of their own have in common: a host that prints what it receives,
// and then hands it on.
#ifndef PRINTINGHOST_HPP
#define PRINTINGHOST_HPP

#include <AmbrelKit/AmbrelSDK.hpp>
#include <AmbrelKit/Platform/Bundle.hpp>

#include <functional>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

class PrintingHost : public AmbrelKit::AmbrelSDKDelegate {
public:
    using Received = std::function<void(const std::string& json)>;

    explicit PrintingHost(Received received) : received_(std::move(received)) {
        const std::vector<std::string> types{"_ipp._tcp", "_http._tcp"};
        AmbrelKit::Bundle::main().setInfoDictionary(
            AmbrelKit::JSONDictionary{{"NSBonjourServices", types}});
    }

private:
    void didReceiveUpdateWithCollectedData(const AmbrelKit::JSONDictionary& data) override {
        const auto json = AmbrelKit::JSONValue(data).dump(2);
        std::cout << json << std::endl;
        received_(json);
    }
    // What your users have allowed you; the kit takes your word for it.
    using Status = AmbrelKit::AmbrelPermissionStatus;
    Status bluetoothSettingStatus() override { return Status::granted; }
    Status bluetoothPermissionStatus() override { return Status::granted; }
    Status locationSettingStatus() override { return Status::granted; }
    Status locationPermissionStatus() override { return Status::granted; }
    Status locationPrecisePermissionStatus() override { return Status::granted; }
    Status networkSettingStatus() override { return Status::granted; }
    Status networkPermissionStatus() override { return Status::granted; }

    Received received_;
};

#endif
