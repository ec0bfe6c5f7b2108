#ifndef AMBRELKIT_LINUX_SOURCES_LOOPBOARD_HPP
#define AMBRELKIT_LINUX_SOURCES_LOOPBOARD_HPP

#include "AmbrelKit/Platform/SourceBoard.hpp"

namespace AmbrelKit::Linux {

class EventLoop;

/// The board on which the sources of a loop write how they fare: `loop->shared<LoopBoard>()`. What
/// is left out of the build stands on it from the start.
class LoopBoard final : public SourceBoard {
public:
    static std::shared_ptr<LoopBoard> make(const std::shared_ptr<EventLoop>& loop);
    LoopBoard();
};

} // namespace AmbrelKit::Linux

#endif
