#include "AmbrelKit/Internal/ProcessSettings.hpp"

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Internal/Models/CollectionThreshold.hpp"

#include <utility>

namespace AmbrelKit {

namespace {

/// What belongs to the process, as it was when this was made.
struct Kept {
    std::int64_t threshold = CollectionThreshold::value;
    decltype(Environment::currentDate) currentDate = Environment::shared().currentDate;
    decltype(Environment::generateUUID) generateUUID = Environment::shared().generateUUID;
    NetworkEnvironment network = NetworkEnvironment::shared();
    CaptiveNetwork captive = CaptiveNetwork::shared();

    void restore() {
        CollectionThreshold::value = threshold;
        Environment::shared().currentDate = std::move(currentDate);
        Environment::shared().generateUUID = std::move(generateUUID);
        NetworkEnvironment::shared() = std::move(network);
        CaptiveNetwork::shared() = std::move(captive);
    }
};

/// Restores that when it goes; one that goes before a later one leaves it to that one.
class Restoration {
public:
    Restoration() { newest_ = this; }
    Restoration(const Restoration&) = delete;
    Restoration& operator=(const Restoration&) = delete;
    ~Restoration() {
        if (newest_ == this) {
            newest_ = older_;
            before_.restore();
            return;
        }
        Restoration* next = newest_;
        while (next->older_ != this) {
            next = next->older_;
        }
        next->older_ = older_;
        next->before_ = std::move(before_);
    }

private:
    inline static Restoration* newest_ = nullptr;

    Restoration* older_ = newest_;
    Kept before_;
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
