#include "AmbrelKit/Linux/Sources/Standings.hpp"

#include <algorithm>
#include <utility>

namespace AmbrelKit::Linux {

Standings::Standings(std::shared_ptr<SourceBoard> board, Source source)
    : board_(std::move(board)), source_(source), atRest_(board_->condition(source)) {}

void Standings::say(const void* who, SourceCondition condition) {
    const auto said = std::ranges::find(said_, who, &Said::who);
    (said != said_.end() ? *said : said_.emplace_back(Said{.who = who})).condition =
        std::move(condition);
    publish();
}

void Standings::leave(const void* who) {
    if (std::erase_if(said_, [who](const Said& said) { return said.who == who; }) > 0) {
        publish();
    }
}

void Standings::publish() {
    auto shown = std::find_if(said_.rbegin(), said_.rend(), [](const Said& said) {
        return said.condition.state == SourceState::listening;
    });
    shown = shown == said_.rend() ? said_.rbegin() : shown;
    board_->publish(source_, said_.empty() ? atRest_ : shown->condition);
}

} // namespace AmbrelKit::Linux
