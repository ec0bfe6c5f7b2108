#include "AmbrelKit/Linux/SourceReports.hpp"

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"

#include <system_error>
#include <utility>

namespace AmbrelKit::Linux {

std::shared_ptr<SourceReports> sourceReports(std::function<void()> changed) {
    const auto loop = EventLoop::current();
    std::function<void()> noted;
    if (changed) {
        noted = [tell = loop->deferral(std::move(changed))] {
            try {
                tell->schedule();
            } catch (const std::system_error&) { // a forked child only drops what it inherited
            }
        };
    }
    return loop->shared<LoopBoard>()->reports(std::move(noted));
}

} // namespace AmbrelKit::Linux
