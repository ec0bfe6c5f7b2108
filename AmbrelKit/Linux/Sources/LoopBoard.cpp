#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"

#include "AmbrelKit/Linux/Lifecycle/CollectionClock.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"

#include <array>

namespace AmbrelKit::Linux {

namespace {

/// The sources that a build may leave out. Whether it does, CMakeLists.txt says.
struct Part {
    Source source;
    bool isBuilt;
    SourceReason otherwise;
};

constexpr std::array parts{
    Part{Source::bluetooth, BUILT_WITH_BLUETOOTH, SourceReason::bluetoothLeftOut},
    Part{Source::services, BUILT_WITH_SERVICES, SourceReason::servicesLeftOut},
    Part{Source::location, BUILT_WITH_LOCATION, SourceReason::locationLeftOut},
    Part{Source::wifi, BUILT_WITH_WIFI, SourceReason::wifiLeftOut}};

} // namespace

LoopBoard::LoopBoard()
    : SourceBoard({.elapsed = [] { return CollectionClock::shared().sinceBoot(); },
                   .date = [] { return CollectionClock::shared().reading(); }}) {
    for (const Part& part : parts) {
        if (!part.isBuilt) {
            publish(part.source, because(part.otherwise));
        }
    }
}

std::shared_ptr<LoopBoard> LoopBoard::make(const std::shared_ptr<EventLoop>& /*loop*/) {
    return std::make_shared<LoopBoard>();
}

} // namespace AmbrelKit::Linux
