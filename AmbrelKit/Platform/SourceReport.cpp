#include "AmbrelKit/Platform/SourceReport.hpp"

#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

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

std::string told(const SourceCondition& condition) {
    return condition.reason + (condition.remedy.empty() ? "" : ": " + condition.remedy);
}

std::string told(const SourceAbsence& absence) {
    return absence.who + " was away from " + spoken(absence.from) +
           (absence.until ? " to " + spoken(*absence.until) : " on");
}

void addReason(JSONDictionary& to, const SourceCondition& condition) {
    const auto add = [&to](const char* key, const std::string& text) {
        if (!text.empty()) {
            to.emplace(key, text);
        }
    };
    add("code", condition.code);
    add("reason", condition.reason);
    add("remedy", condition.remedy);
}

JSONDictionary dictionary(const SourceAbsence& absence) {
    JSONDictionary result{{"from", seconds(absence.from)}};
    if (absence.until) {
        result.emplace("until", seconds(*absence.until));
    }
    addReason(result, absence.why);
    return result;
}

JSONDictionary dictionary(const SourceAccount& account) {
    JSONDictionary result{{"outcome", code(account.outcome)}, {"reports", account.reports}};
    if (!account.means.empty()) {
        result.emplace("means", account.means);
    }
    if (account.outcome == SourceOutcome::failed) {
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

std::string shortfall(const SourceAccount& account) {
    std::string text;
    for (const SourceAbsence& absence : account.absences) {
        text += (text.empty() ? "" : ", ") + told(absence);
    }
    if (account.outcome == SourceOutcome::failed) {
        text += text.empty() ? "" : ": ";
        text += account.failure.reason.empty() ? "it had not answered when the collection ended"
                                               : told(account.failure);
    }
    return text;
}

JSONDictionary dictionary(const SourceReport& report) {
    JSONDictionary result{{"source", code(report.source)},
                          {"state", code(report.condition.state)},
                          {"since", seconds(report.since.time_since_epoch())},
                          {"collection", dictionary(report.collection)}};
    if (!report.condition.means.empty()) {
        result.emplace("means", report.condition.means);
    }
    addReason(result, report.condition);
    return result;
}

} // namespace AmbrelKit
