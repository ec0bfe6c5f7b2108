#include "AmbrelKit/Simulated/Platform.hpp"

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Internal/Models/CollectionThreshold.hpp"

#include <cstdint>
#include <utility>

namespace AmbrelKit::Simulated {

namespace {

constexpr std::int64_t defaultThreshold = 30;

/// Hands out the identifiers of a list, then numbered ones.
class IdentifierSource {
public:
    explicit IdentifierSource(std::vector<UUID> identifiers)
        : identifiers_(std::move(identifiers)) {}

    UUID next() {
        return handedOut_ < identifiers_.size() ? identifiers_[handedOut_++] : numbered(++count_);
    }

private:
    static UUID numbered(std::uint64_t number) {
        UUID::Bytes bytes{0, 0, 0, 0, 0, 0, 0x40, 0, 0x80, 0};
        for (std::size_t i = bytes.size(); i-- > 10; number >>= 8U) {
            bytes[i] = static_cast<std::uint8_t>(number & 0xFFU);
        }
        return UUID(bytes);
    }

    std::vector<UUID> identifiers_;
    std::size_t handedOut_ = 0;
    std::uint64_t count_ = 0;
};

} // namespace

/// What belongs to the process, not to one kit.
struct Platform::ProcessSettings {
    std::int64_t threshold = CollectionThreshold::value;
    decltype(Environment::currentDate) currentDate = Environment::shared().currentDate;
    decltype(Environment::generateUUID) generateUUID = Environment::shared().generateUUID;
    NetworkEnvironment network = NetworkEnvironment::shared();
    CaptiveNetwork captive = CaptiveNetwork::shared();

    void apply() const {
        CollectionThreshold::value = threshold;
        Environment::shared().currentDate = currentDate;
        Environment::shared().generateUUID = generateUUID;
        NetworkEnvironment::shared() = network;
        CaptiveNetwork::shared() = captive;
    }
};

Platform::Platform(PlatformSettings settings)
    : before_(std::make_unique<ProcessSettings>()), context_(std::make_shared<Context>()),
      clock_(std::make_shared<VirtualClock>(context_)),
      bluetooth_(std::make_shared<BluetoothRadio>(context_)),
      location_(std::make_shared<LocationService>(context_)),
      bonjour_(std::make_shared<ServiceDiscovery>(context_)),
      notificationCenter_(std::make_shared<NotificationCenter>(context_)),
      application_(std::make_shared<Application>(context_)),
      network_(std::make_shared<NetworkState>()) {
    context_->start = settings.start;
    ProcessSettings ours;
    ours.threshold = defaultThreshold;
    ours.currentDate = [context = context_] {
        return Environment::TimePoint(
            std::chrono::duration_cast<Environment::TimePoint::duration>(context->wallClock()));
    };
    ours.generateUUID = [source = std::make_shared<IdentifierSource>(
                             std::move(settings.identifiers))] { return source->next(); };
    ours.network.addressIPv4 = [network = network_] {
        return NetworkEnvironment::addressIPv4Among(network->interfaces());
    };
    ours.network.availableNetworks = NetworkEnvironment::_availableNetworks;
    ours.captive.supportedInterfaces = [network = network_] {
        return network->supportedInterfaces();
    };
    ours.captive.currentNetworkInfo = [network = network_](const std::string& interface) {
        return network->currentNetworkInfo(interface);
    };
    ours.apply();
}

Platform::~Platform() {
    context_->sink = nullptr;
    before_->apply();
}

std::shared_ptr<AmbrelSDK>
Platform::createSDK(std::optional<std::vector<std::string>> bonjourServices) {
    return AmbrelSDK::create(
        std::move(bonjourServices), [radio = bluetooth_] { return radio->makeManager(); },
        [service = location_] { return service->makeManager(); },
        [network = bonjour_] { return network->makeBrowser(); },
        [clock = clock_](double interval, bool repeats, TimerTick tick) {
            return clock->scheduledTimer(interval, repeats, std::move(tick));
        },
        notificationCenter_, application_);
}

} // namespace AmbrelKit::Simulated
