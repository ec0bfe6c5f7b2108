// Collects by itself: when it begins, and again each time the user comes back to it. Resume and the
// session's activation are followed already; only a window's are the host's to tell. Here a line of
// input stands for a window that comes to the front.
#include <AmbrelKit/AmbrelSDK.hpp>
#include <AmbrelKit/Linux/HostStatus.hpp>
#include <AmbrelKit/Platform/Bundle.hpp>
#include <AmbrelKit/Platform/NotificationCenter.hpp>
#include <AmbrelKit/Platform/RunLoop.hpp>

#include <iostream>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <string>
#include <unistd.h>

using namespace AmbrelKit;

class Host : public AmbrelSDKDelegate {
    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override {
        std::cout << JSONValue(data).dump() << std::endl;
        if (const auto collecting = kit.lock()) {
            collecting->completeScanning(); // from here on the machine may go to sleep at once
        }
    }
    // Whether it is switched on, the system shows; what your users have allowed you, you know.
    using Status = AmbrelPermissionStatus;
    Status bluetoothSettingStatus() override { return system->bluetoothSettingStatus(); }
    Status bluetoothPermissionStatus() override { return Status::granted; }
    Status locationSettingStatus() override { return system->locationSettingStatus(); }
    Status locationPermissionStatus() override { return Status::granted; }
    Status locationPrecisePermissionStatus() override { return Status::granted; }
    Status networkSettingStatus() override { return system->networkSettingStatus(); }
    Status networkPermissionStatus() override { return Status::granted; }

    std::shared_ptr<Linux::HostStatus> system = Linux::HostStatus::start();

public:
    std::weak_ptr<AmbrelSDK> kit;
};

int main() {
    const std::vector<std::string> types{"_ipp._tcp", "_http._tcp"};
    Bundle::main().setInfoDictionary(JSONDictionary{{"NSBonjourServices", types}});
    const auto loop = RunLoop::current();
    const auto host = std::make_shared<Host>();
    const auto kit = AmbrelSDK::create();
    host->kit = kit;
    kit->setDelegate(host);
    kit->startScanning();
    pollfd descriptors[] = {{loop->fileDescriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    while (poll(descriptors, 2, -1) >= 0) {
        if (descriptors[0].revents != 0) {
            loop->dispatch();
        }
        if (std::string line; descriptors[1].revents != 0) {
            if (!std::getline(std::cin, line)) {
                return 0;
            }
            NotificationCenter::default_()->post(ApplicationDidBecomeActiveNotification);
        }
    }
}
