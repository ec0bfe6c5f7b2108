#include "tools/ambrel/Collecting/SourceNotes.hpp"

#include <cstddef>
#include <utility>

namespace Ambrel {

using namespace AmbrelKit;

void SourceNotes::collected(const std::vector<SourceReport>& sources) {
    for (const SourceReport& report : sources) {
        if (report.source != Source::lifecycle) {
            tell(report.source, report.collection);
        }
    }
}

void SourceNotes::lifecycleChanged(const SourceCondition& condition) {
    switch (condition.state) {
    case SourceState::idle:
    case SourceState::starting:
        return;
    case SourceState::listening:
        return tell(Source::lifecycle, {.outcome = SourceOutcome::listened});
    default:
        return tell(Source::lifecycle, {.outcome = SourceOutcome::failed, .failure = condition});
    }
}

void SourceNotes::tell(Source source, const SourceAccount& account) {
    if (account.outcome == SourceOutcome::notAsked || !isWanted(options_, source)) {
        return;
    }
    auto& told = told_.at(static_cast<std::size_t>(source));
    const bool fails = account.outcome == SourceOutcome::failed || account.failure.isPartial;
    if (fails && told == account.failure) {
        return;
    }
    const auto before = std::exchange(told, fails ? std::optional(account.failure) : std::nullopt);
    std::string text = shortfall(account);
    if (text.empty() && before && !before->isPartial) {
        text = "works again";
    }
    if (fails && source == Source::lifecycle) {
        text += "; nothing but --every would make it collect again";
    }
    if (!text.empty()) {
        tell_(std::string(code(source)) + ": " + text);
    }
}

} // namespace Ambrel
