#include "AmbrelKit/C/ReportsHandle.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"

using namespace AmbrelKit;

static_assert(static_cast<int>(Source::lifecycle) == AMBREL_SOURCE_LIFECYCLE);
static_assert(allSources.size() == AMBREL_SOURCE_COUNT);
static_assert(static_cast<int>(SourceState::refused) == AMBREL_SOURCE_REFUSED);
static_assert(static_cast<int>(SourceState::leftOut) == AMBREL_SOURCE_LEFT_OUT);
static_assert(static_cast<int>(SourceOutcome::failed) == AMBREL_OUTCOME_FAILED);

namespace {

SourceReport reportOf(const ambrel_source_reports* reports, int source) {
    C::require(source >= 0 && source < AMBREL_SOURCE_COUNT, "an unknown source");
    return C::required(reports).reports->report(static_cast<Source>(source));
}

} // namespace

extern "C" {

ambrel_source_reports* ambrel_source_reports_ref(ambrel_source_reports* reports) {
    return C::reference(reports);
}

ambrel_source_reports* ambrel_source_reports_unref(ambrel_source_reports* reports) {
    return C::unreference(reports);
}

int ambrel_source_reports_state(const ambrel_source_reports* reports, int source) {
    return C::edge(nullptr,
                   [&] { return static_cast<int>(reportOf(reports, source).condition.state); });
}

int ambrel_source_reports_outcome(const ambrel_source_reports* reports, int source) {
    return C::edge(nullptr,
                   [&] { return static_cast<int>(reportOf(reports, source).collection.outcome); });
}

int ambrel_source_reports_json(const ambrel_source_reports* reports, char** json, size_t* length,
                               ambrel_error* error) {
    return C::edge(error, [&] {
        const std::string text = writeJSON(dictionary(*C::required(reports).reports));
        C::give(text, json);
        if (length != nullptr) {
            *length = text.size();
        }
    });
}

int ambrel_source_reports_shortfall(const ambrel_source_reports* reports, int source, char** text,
                                    ambrel_error* error) {
    return C::edge(error, [&] { C::give(shortfall(reportOf(reports, source).collection), text); });
}
}
