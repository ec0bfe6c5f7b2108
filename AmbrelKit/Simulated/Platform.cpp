#include "AmbrelKit/Simulated/Platform.hpp"

#include "AmbrelKit/Internal/ProcessSettings.hpp"

#include <cstdint>
#include <utility>

namespace AmbrelKit::Simulated {

namespace {

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

/// What a tick found.
void tell(Sources& sources, Source source, bool finds, SourceCondition otherwise) {
    sources.answer(
        source,
        finds ? SourceCondition{.state = SourceState::listening, .means = "simulated network"}
              : std::move(otherwise),
        finds);
}

} // namespace

Platform::Platform(PlatformSettings settings)
    : context_(std::make_shared<Context>()), sources_(std::make_shared<Sources>(context_)),
      clock_(std::make_shared<VirtualClock>(context_)),
      bluetooth_(std::make_shared<BluetoothRadio>(context_, sources_)),
      location_(std::make_shared<LocationService>(context_, sources_)),
      bonjour_(std::make_shared<ServiceDiscovery>(context_, sources_)),
      notificationCenter_(std::make_shared<NotificationCenter>(context_, sources_)),
      application_(std::make_shared<Application>(context_)),
      network_(std::make_shared<NetworkState>()),
      makeSDK_([](auto... parts) { return AmbrelSDK::create(std::move(parts)...); }) {
    context_->start = settings.start;
    processSettings_ = ProcessSettings{
        .currentDate =
            [context = context_] {
                using Clock = std::chrono::system_clock;
                return Clock::time_point(
                    std::chrono::duration_cast<Clock::duration>(context->wallClock()));
            },
        .generateUUID = [source = std::make_shared<IdentifierSource>(
                             std::move(settings.identifiers))] { return source->next(); },
        .addressIPv4 =
            [network = network_, sources = sources_] {
                auto address = ProcessSettings::addressIPv4Among(network->interfaces());
                tell(*sources, Source::address, address.has_value(),
                     {.state = SourceState::unavailable,
                      .code = "no-interface",
                      .reason = "no simulated interface has an address that counts"});
                return address;
            },
        .supportedInterfaces =
            [network = network_, sources = sources_] {
                auto interfaces = network->supportedInterfaces();
                tell(*sources, Source::wifi, interfaces.has_value(),
                     {.state = SourceState::unavailable,
                      .code = "no-adapter",
                      .reason = "there is no simulated Wi-Fi adapter"});
                return interfaces;
            },
        .currentNetworkInfo =
            [network = network_](const std::string& interface) {
                return network->currentNetworkInfo(interface);
            }}.install();
}

Platform::~Platform() {
    setSink({});
    processSettings_.reset();
}

std::shared_ptr<SourceReports> Platform::sourceReports(const std::function<void()>& changed) {
    std::function<void()> noted;
    if (changed) {
        noted = [clock = clock_, changed, told = std::shared_ptr<Timer>()]() mutable {
            told = clock->soon([changed](const Timer&) { changed(); });
        };
    }
    return sources_->reports(std::move(noted));
}

std::shared_ptr<AmbrelSDK>
Platform::createSDK(std::optional<std::vector<std::string>> bonjourServices) {
    return makeSDK_(
        std::move(bonjourServices), [radio = bluetooth_] { return radio->makeManager(); },
        [service = location_] { return service->makeManager(); },
        [network = bonjour_] { return network->makeBrowser(); },
        sources_->collectionTimers([clock = clock_](double interval, bool repeats, TimerTick tick) {
            return clock->scheduledTimer(interval, repeats, std::move(tick));
        }),
        notificationCenter_, application_);
}

} // namespace AmbrelKit::Simulated
