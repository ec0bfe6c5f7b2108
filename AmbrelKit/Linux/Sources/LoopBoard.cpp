#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"

#include "AmbrelKit/Linux/Lifecycle/CollectionClock.hpp"

namespace AmbrelKit::Linux {

LoopBoard::LoopBoard()
    : SourceBoard({.elapsed = [] { return CollectionClock::shared().sinceBoot(); },
                   .date = [] { return CollectionClock::shared().now(); }}) {}

std::shared_ptr<LoopBoard> LoopBoard::make(const std::shared_ptr<EventLoop>& /*loop*/) {
    return std::make_shared<LoopBoard>();
}

} // namespace AmbrelKit::Linux
