#include "AmbrelKit/Simulated/Sources.hpp"

#include <utility>

namespace AmbrelKit::Simulated {

namespace {

std::size_t index(Source source) { return static_cast<std::size_t>(source); }

} // namespace

Sources::Sources(const std::shared_ptr<Context>& context)
    : SourceBoard({.elapsed = [context] { return context->now; },
                   .date =
                       [context] {
                           using Date = std::chrono::system_clock::time_point;
                           return Date(
                               std::chrono::duration_cast<Date::duration>(context->wallClock()));
                       }}) {}

void Sources::impose(Source source, const SourceCondition& condition) {
    auto& imposed = imposed_.at(index(source));
    imposed.reset();
    publish(source, condition == SourceCondition() ? byItself(source) : condition);
    if (condition != SourceCondition()) {
        imposed = condition;
    }
}

void Sources::publish(Source source, const SourceCondition& condition) {
    if (!imposed_.at(index(source))) {
        SourceBoard::publish(source, condition);
    }
}

const SourceCondition& Sources::byItself(Source source) const {
    static const SourceCondition idle;
    const SourceCondition* newest = &idle;
    static_cast<void>(parts_.at(index(source)).any([&newest](const SourceCondition& part) {
        newest = part.state != SourceState::idle ? &part : newest;
        return false;
    }));
    return *newest;
}

Sources::Part::Part(std::shared_ptr<Sources> sources, Source source)
    : sources_(std::move(sources)), source_(source) {
    sources_->parts_.at(index(source)).add(condition_);
}

void Sources::Part::fares(SourceCondition condition) {
    *condition_ = std::move(condition);
    sources_->publish(source_, sources_->byItself(source_));
}

} // namespace AmbrelKit::Simulated
