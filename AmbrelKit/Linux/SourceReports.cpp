#include "AmbrelKit/Linux/SourceReports.hpp"

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"

#include <chrono>
#include <utility>

namespace AmbrelKit::Linux {

std::shared_ptr<SourceReports> sourceReports(std::function<void()> changed) {
    const auto loop = EventLoop::current();
    std::function<void()> noted;
    if (changed) {
        noted = [tell = loop->deadline(std::move(changed))] {
            tell->arm(std::chrono::steady_clock::now());
        };
    }
    return loop->shared<LoopBoard>()->reports(std::move(noted));
}

} // namespace AmbrelKit::Linux
