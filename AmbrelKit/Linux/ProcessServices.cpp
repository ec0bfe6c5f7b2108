#include "AmbrelKit/Linux/ProcessServices.hpp"

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/NetworkInfoProvider.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"
#include "AmbrelKit/Linux/ThisMachine.hpp"

#include <iterator>
#include <list>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

std::optional<std::string> stringOf(const std::optional<Text>& text) {
    return text ? std::optional(std::string(text->string())) : std::nullopt;
}

std::optional<Text> textOf(const std::optional<std::string>& string) {
    return string ? std::optional<Text>(*string) : std::nullopt;
}

/// The same as the kit holds them.
struct Closures {
    decltype(Environment::currentDate) currentDate;
    decltype(NetworkEnvironment::addressIPv4) addressIPv4;
    decltype(NetworkEnvironment::availableNetworks) availableNetworks;

    static Closures inUse() {
        return {Environment::shared().currentDate, NetworkEnvironment::shared().addressIPv4,
                NetworkEnvironment::shared().availableNetworks};
    }
    void use() const {
        Environment::shared().currentDate = currentDate;
        NetworkEnvironment::shared().addressIPv4 = addressIPv4;
        NetworkEnvironment::shared().availableNetworks = availableNetworks;
    }
};

/// An answer of the host's own is listened to as well; of one that came from this machine the
/// source has told already.
void tell(Source source, bool isReport) {
    constexpr const char* means = "the host";
    const auto board = EventLoop::current()->shared<LoopBoard>();
    const SourceCondition& told = board->condition(source);
    if (told.state == SourceState::starting || told.means == means) {
        board->answer(source, listening(means), isReport);
    }
}

/// What each installation replaced that is in force, in their order.
std::list<Closures>& replacedClosures() {
    static auto& list = *new std::list<Closures>;
    return list;
}

void restore(std::list<Closures>::iterator replaced) {
    if (const auto later = std::next(replaced); later != replacedClosures().end()) {
        *later = std::move(*replaced);
    } else {
        replaced->use();
    }
    replacedClosures().erase(replaced);
}

} // namespace

ProcessServices ProcessServices::current() {
    answerForThisMachine();
    return {.currentDate = Environment::shared().currentDate,
            .addressIPv4 = NetworkEnvironment::shared().addressIPv4,
            .availableNetworks = [query = NetworkEnvironment::shared().availableNetworks] {
                std::vector<JoinedNetwork> networks;
                for (const WifiNetworkHost& host : query()) {
                    networks.push_back({.interface = std::string(host.interface.string()),
                                        .ssid = stringOf(host.ssid),
                                        .bssid = stringOf(host.bssid)});
                }
                return networks;
            }};
}

std::shared_ptr<void> ProcessServices::install() const {
    answerForThisMachine();
    auto& replaced = replacedClosures();
    const auto before = replaced.insert(replaced.end(), Closures::inUse());
    Closures{.currentDate = currentDate,
             .addressIPv4 =
                 [query = addressIPv4] {
                     auto address = query();
                     tell(Source::address, address.has_value());
                     return address;
                 },
             .availableNetworks =
                 [query = availableNetworks] {
                     std::vector<WifiNetworkHost> hosts;
                     for (const JoinedNetwork& network : query()) {
                         hosts.push_back({.interface = network.interface,
                                          .ssid = textOf(network.ssid),
                                          .bssid = textOf(network.bssid)});
                     }
                     tell(Source::wifi, !hosts.empty());
                     return hosts;
                 }}
        .use();
    return {&*before, [before](void*) { restore(before); }};
}

} // namespace AmbrelKit::Linux
