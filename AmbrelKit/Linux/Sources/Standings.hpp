#ifndef AMBRELKIT_LINUX_SOURCES_STANDINGS_HPP
#define AMBRELKIT_LINUX_SOURCES_STANDINGS_HPP

#include "AmbrelKit/Platform/SourceBoard.hpp"

#include <memory>
#include <vector>

namespace AmbrelKit::Linux {

/// What several who are one source of a loop say of it: the board shows what the newest one says
/// that listens, or, where none does, the newest one.
class Standings {
public:
    Standings(std::shared_ptr<SourceBoard> board, Source source);

    void say(const void* who, SourceCondition condition);
    void leave(const void* who);
    void count(std::size_t reports = 1) { board_->count(source_, reports); }

private:
    struct Said {
        const void* who = nullptr;
        SourceCondition condition = {};
    };

    void publish();

    std::shared_ptr<SourceBoard> board_;
    Source source_;
    SourceCondition atRest_; ///< idle, or left out
    std::vector<Said> said_; ///< oldest first
};

} // namespace AmbrelKit::Linux

#endif
