#include "AmbrelKit/Internal/ProcessSettings.hpp"

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Internal/Models/CollectionThreshold.hpp"

#include <utility>

namespace AmbrelKit {

namespace {

/// What belongs to the process, as it is now, and again when this goes.
class Restoration {
public:
    Restoration() = default;
    Restoration(const Restoration&) = delete;
    Restoration& operator=(const Restoration&) = delete;
    ~Restoration() {
        CollectionThreshold::value = threshold_;
        Environment::shared().currentDate = std::move(currentDate_);
        Environment::shared().generateUUID = std::move(generateUUID_);
        NetworkEnvironment::shared() = std::move(network_);
        CaptiveNetwork::shared() = std::move(captive_);
    }

private:
    std::int64_t threshold_ = CollectionThreshold::value;
    decltype(Environment::currentDate) currentDate_ = Environment::shared().currentDate;
    decltype(Environment::generateUUID) generateUUID_ = Environment::shared().generateUUID;
    NetworkEnvironment network_ = NetworkEnvironment::shared();
    CaptiveNetwork captive_ = CaptiveNetwork::shared();
};

} // namespace

std::optional<std::string> ProcessSettings::addressIPv4Among(const ifaddrs* interfaces) {
    return NetworkEnvironment::addressIPv4Among(interfaces);
}

std::shared_ptr<void> ProcessSettings::install() const {
    auto restoration = std::make_shared<Restoration>();
    CollectionThreshold::value = CollectionThreshold::initial;
    Environment::shared().currentDate = currentDate;
    Environment::shared().generateUUID = generateUUID;
    NetworkEnvironment::shared() = {.addressIPv4 = addressIPv4};
    CaptiveNetwork::shared() = {supportedInterfaces, currentNetworkInfo};
    return restoration;
}

} // namespace AmbrelKit
