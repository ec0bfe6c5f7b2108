#include "tools/ambrel/Live/Feed.hpp"

namespace Ambrel {

using namespace AmbrelKit;

class Feed::Reports final : public DetailedReports {
public:
    explicit Reports(Feed& feed) : feed_(feed) {}

    void timerDidSchedule() override {
        DetailedReports::timerDidSchedule();
        ++feed_.collections_;
        feed_.changed();
    }

private:
    void told(Source source, const char* report, const JSONDictionary& details) override {
        feed_.sightings_.update(source, report, details, feed_.now());
        feed_.changed();
    }

    Feed& feed_;
};

std::shared_ptr<PlatformObserver> Feed::makeObserver() { return std::make_shared<Reports>(*this); }

void Feed::sourcesChanged(const SourceReports& sources) {
    for (const SourceReport& report : sources.reports()) {
        const SourceState state = report.condition.state;
        if (state != SourceState::idle && state != SourceState::starting) {
            conditions_.at(static_cast<std::size_t>(report.source)) = report.condition;
        }
    }
    changed();
}

std::vector<std::pair<std::string, std::string>> Feed::shortfalls() const {
    std::vector<std::pair<std::string, std::string>> found;
    for (const Source source : allSources) {
        const SourceCondition& condition = conditions_.at(static_cast<std::size_t>(source));
        if (source != Source::lifecycle && condition.state != SourceState::idle &&
            condition.state != SourceState::listening) {
            found.emplace_back(code(source), withRemedy(condition.reason, condition.remedy));
        }
    }
    return found;
}

} // namespace Ambrel
