// Searches for the service types given as arguments for as many seconds as the first says, and
// prints what was resolved as a collection's dictionary lists it.

#include "AmbrelKit/Linux/NearbyDevices/NearbyDevices.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <set>

namespace {

using namespace AmbrelKit;

class Probe final : public NetServiceBrowserDelegate,
                    public NetServiceDelegate,
                    public std::enable_shared_from_this<Probe> {
public:
    void netServiceBrowserDidFindService(NetServiceBrowser& /*browser*/,
                                         const std::shared_ptr<NetService>& service,
                                         bool /*moreComing*/) override {
        service->setDelegate(weak_from_this());
        service->resolveWithTimeout(0);
        services_.insert(service);
    }

    void netServiceDidResolveAddress(NetService& service) override {
        nlohmann::json device{{"name", service.name()}, {"protocolType", service.type()}};
        for (const std::string& record : service.addresses().value_or(std::vector<std::string>{})) {
            if (record.size() >= 8 && record[1] == AF_INET) {
                in_addr address{};
                std::memcpy(&address, record.data() + 4, sizeof address);
                device["address"] = inet_ntoa(address);
            }
        }
        if (const auto txt = service.TXTRecordData()) {
            device["txtRecord"] = nlohmann::json::object();
            for (const auto& [key, value] : NetService::dictionaryFromTXTRecordData(*txt)) {
                if (isValidUTF8(value)) {
                    device["txtRecord"][key] = value;
                }
            }
        }
        devices_[service.type() + service.name()] = std::move(device);
    }

    [[nodiscard]] nlohmann::json dictionary() const {
        nlohmann::json list = nlohmann::json::array();
        for (const auto& [key, device] : devices_) {
            list.push_back(device);
        }
        return {{"nearbyDevices", list}};
    }

private:
    std::set<std::shared_ptr<NetService>> services_;
    std::map<std::string, nlohmann::json> devices_;
};

} // namespace

int main(int argumentCount, char** arguments) {
    const auto loop = Linux::EventLoop::current();
    const auto makeBrowser = Linux::makeNetServiceBrowserFactory(loop);
    const auto probe = std::make_shared<Probe>();
    std::vector<std::shared_ptr<NetServiceBrowser>> browsers;
    for (int i = 2; i < argumentCount; ++i) {
        browsers.push_back(makeBrowser());
        browsers.back()->setDelegate(probe);
        browsers.back()->searchForServicesOfType(arguments[i], "");
    }
    const auto timer = loop->scheduledTimer(argumentCount > 1 ? std::atof(arguments[1]) : 10, false,
                                            [&](Timer&) { loop->stop(); });
    loop->run();
    std::cout << probe->dictionary().dump() << '\n';
}
