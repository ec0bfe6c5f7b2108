#include "AmbrelKit/Difference/Difference.hpp"
#include "AmbrelKit/Internal/Models/AmbrelError.hpp"
#include "AmbrelKit/Internal/Models/AmbrelPermissionStatus.hpp"
#include "AmbrelKit/Platform/BluetoothCentralManager.hpp"
#include "AmbrelKit/Platform/LocationManager.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"
#include "AmbrelKit/Platform/UUID.hpp"

namespace AmbrelKit {

namespace {

template <class Choice> void describeByCode(Description& into, Choice choice) {
    const std::string_view name = code(choice);
    if (name.empty()) { // a cast made it
        into.value(static_cast<int>(choice));
    } else {
        into.word(name);
    }
}

} // namespace

void describe(Description& into, AmbrelPermissionStatus status) {
    switch (status) {
    case AmbrelPermissionStatus::unknown:
        return into.word("unknown");
    case AmbrelPermissionStatus::granted:
        return into.word("granted");
    case AmbrelPermissionStatus::denied:
        return into.word("denied");
    }
    into.value(static_cast<std::int64_t>(status));
}

void describe(Description& into, Source source) { describeByCode(into, source); }
void describe(Description& into, SourceOutcome outcome) { describeByCode(into, outcome); }
void describe(Description& into, SourceState state) { describeByCode(into, state); }

void describe(Description& into, const AmbrelError& error) { into.value(error.what()); }

void describe(Description& into, const AmbrelErrorObject& error) {
    into.field("domain", error.domain)
        .field("code", error.code)
        .field("description", error.description);
}

void describe(Description& into, const LocationCoordinate& coordinate) {
    into.field("latitude", coordinate.latitude).field("longitude", coordinate.longitude);
}

void describe(Description& into, const LocationFix& fix) {
    into.field("coordinate", fix.coordinate)
        .field("timestamp", fix.timestamp)
        .field("horizontalAccuracy", fix.horizontalAccuracy)
        .field("altitude", fix.altitude)
        .field("verticalAccuracy", fix.verticalAccuracy)
        .field("determinedBy", fix.determinedBy);
}

void describe(Description& into, const Peripheral& peripheral) {
    into.key("identifier", peripheral.identifier).field("name", peripheral.name);
}

void describe(Description& into, const SourceAbsence& absence) {
    into.field("from", absence.from)
        .field("until", absence.until)
        .field("who", absence.who)
        .field("why", absence.why);
}

void describe(Description& into, const SourceAccount& account) {
    into.field("outcome", account.outcome)
        .field("means", account.means)
        .field("reports", account.reports)
        .field("absences", account.absences)
        .field("failure", account.failure);
}

void describe(Description& into, const SourceCondition& condition) {
    into.field("state", condition.state)
        .field("means", condition.means)
        .field("code", condition.code)
        .field("reason", condition.reason)
        .field("remedy", condition.remedy);
}

void describe(Description& into, const SourceReport& report) {
    into.key("source", report.source)
        .field("condition", report.condition)
        .field("since", report.since)
        .field("collection", report.collection);
}

void describe(Description& into, const UUID& identifier) { into.word(identifier.text()); }

} // namespace AmbrelKit
