#include "AmbrelKit/Platform/SourceReport.hpp"

#include "AmbrelKit/Platform/PrintableText.hpp"
#include "AmbrelKit/Platform/SourceReports.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

namespace AmbrelKit {

namespace {

template <std::size_t size>
std::string_view codeOf(const std::array<std::string_view, size>& codes, std::size_t index) {
    return index < size ? codes.at(index) : std::string_view();
}

double seconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double>(time).count();
}

/// To a tenth of a second, as people read it.
std::string spoken(std::chrono::nanoseconds time) {
    const auto tenths = std::llround(seconds(time) * 10);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

/// Nothing of an absence that is too short to be read.
std::string told(const SourceAbsence& absence) {
    if (absence.until && spoken(*absence.until) == spoken(absence.from)) {
        return {};
    }
    return absence.who + " was away from " + spoken(absence.from) +
           (absence.until ? " to " + spoken(*absence.until) : " on");
}

void addText(JSONDictionary& to, const char* key, const std::string& text) {
    if (!text.empty()) {
        to.emplace(key, repairedUTF8(text)); // a host's own texts may be anything
    }
}

void addReason(JSONDictionary& to, const SourceCondition& condition) {
    addText(to, "code", condition.code);
    addText(to, "reason", condition.reason);
    addText(to, "remedy", condition.remedy);
}

JSONDictionary dictionary(const SourceAbsence& absence) {
    JSONDictionary result{{"from", seconds(absence.from)}};
    addText(result, "who", absence.who);
    if (absence.until) {
        result.emplace("until", seconds(*absence.until));
    }
    addReason(result, absence.why);
    return result;
}

JSONDictionary dictionary(const SourceCondition& condition,
                          std::chrono::system_clock::time_point since) {
    JSONDictionary result{{"state", code(condition.state)},
                          {"since", seconds(since.time_since_epoch())}};
    addText(result, "means", condition.means);
    addReason(result, condition);
    return result;
}

} // namespace

std::string_view code(Source source) {
    static constexpr std::array<std::string_view, 6> codes{"bluetooth", "services", "location",
                                                           "address",   "wifi",     "lifecycle"};
    return codeOf(codes, static_cast<std::size_t>(source));
}

std::string_view code(SourceState state) {
    static constexpr std::array<std::string_view, 7> codes{
        "idle", "starting", "listening", "unavailable", "off", "refused", "left-out"};
    return codeOf(codes, static_cast<std::size_t>(state));
}

std::string_view code(SourceOutcome outcome) {
    static constexpr std::array<std::string_view, 4> codes{"not-asked", "listened", "interrupted",
                                                           "failed"};
    return codeOf(codes, static_cast<std::size_t>(outcome));
}

std::string withRemedy(const std::string& reason, const std::string& remedy) {
    return reason + (remedy.empty() ? "" : ": ") + remedy;
}

std::string shortfall(const SourceAccount& account) {
    std::string text;
    for (const SourceAbsence& absence : account.absences) {
        const std::string away = told(absence);
        text += (text.empty() || away.empty() ? "" : ", ") + away;
    }
    if (account.outcome == SourceOutcome::failed || account.failure.isPartial) {
        text += text.empty() ? "" : account.failure.isPartial ? ", " : ": ";
        text += account.failure.reason.empty()
                    ? "it had not answered when the collection ended"
                    : withRemedy(account.failure.reason, account.failure.remedy);
    }
    return printable(text); // a daemon, a host may have chosen a part of it
}

JSONDictionary dictionary(const SourceReport& report) {
    const SourceAccount& account = report.collection;
    JSONDictionary result{{"outcome", code(account.outcome)},
                          {"reports", account.reports},
                          {"now", dictionary(report.condition, report.since)}};
    addText(result, "means", account.means);
    if (account.outcome == SourceOutcome::failed || account.failure.isPartial) {
        addReason(result, account.failure);
    }
    if (!account.absences.empty()) {
        auto& absences = result["absences"] = JSONValue::array();
        for (const SourceAbsence& absence : account.absences) {
            absences.push_back(dictionary(absence));
        }
    }
    return result;
}

JSONDictionary dictionary(const SourceReports& reports) {
    JSONDictionary sources;
    for (const SourceReport& report : reports.reports()) {
        sources.emplace(code(report.source), dictionary(report));
    }
    JSONDictionary result{{"sources", std::move(sources)}};
    if (const auto began = reports.collectionBegan()) {
        result.emplace("began", seconds(began->time_since_epoch()));
    }
    return result;
}

} // namespace AmbrelKit
