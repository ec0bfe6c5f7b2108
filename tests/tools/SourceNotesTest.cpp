#include "tools/ambrel/Collecting/SourceNotes.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Ambrel {
namespace {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using testing::ElementsAre;

const SourceCondition off{.state = SourceState::off, .reason = "hci0 is off", .remedy = "press"};
const SourceCondition gone{.state = SourceState::unavailable, .reason = "it is gone"};
const SourceAccount failed{.outcome = SourceOutcome::failed, .failure = off};
const SourceAccount listened{.outcome = SourceOutcome::listened};

/// What is told of collections in which the source fared so, one after the other.
std::vector<std::string> notes(const CollectionOptions& options, Source source,
                               const std::vector<SourceAccount>& accounts) {
    std::vector<std::string> told;
    SourceNotes notes(options, [&](const std::string& note) { told.push_back(note); });
    for (const SourceAccount& account : accounts) {
        notes.collected({{source, {}, {}, account}});
    }
    return told;
}

TEST(SourceNotes, AFailureIsToldOnceUntilItIsAnotherOrOver) {
    const SourceAccount isGone{.outcome = SourceOutcome::failed, .failure = gone};
    const SourceAccount away{.outcome = SourceOutcome::interrupted,
                             .absences = {{3100ms, 3600ms, "BlueZ", {}}}};
    const std::string isOff = "bluetooth: hci0 is off: press";
    const std::string wasAway = "bluetooth: BlueZ was away from 3.1 s to 3.6 s";
    EXPECT_THAT(notes({}, Source::bluetooth,
                      {listened,
                       failed,
                       failed,
                       {},
                       failed,
                       listened,
                       listened,
                       away,
                       away,
                       listened,
                       failed,
                       isGone,
                       away,
                       listened}),
                ElementsAre(isOff, "bluetooth: works again", wasAway, wasAway, isOff,
                            "bluetooth: it is gone", wasAway));
}

TEST(SourceNotes, WhatIsNotGrantedIsNotMissed) {
    using Names = std::vector<std::string>;
    using Linux::LocationSourceKind;
    const struct {
        Names only;
        Names without;
        LocationSourceKind location;
        Names missed;
    } cases[] = {
        {{},
         {},
         LocationSourceKind::gpsd,
         {"bluetooth", "services", "location", "address", "wifi"}},
        {{"bluetooth"}, {}, LocationSourceKind::automatic, {"bluetooth"}},
        {{}, {"bluetooth", "network"}, LocationSourceKind::automatic, {"location"}},
        {{}, {"network"}, LocationSourceKind::none, {"bluetooth"}},
    };
    for (const auto& [only, without, location, missed] : cases) {
        CollectionOptions options;
        options.only = only;
        options.without = without;
        options.location = location;
        Names names;
        for (const Source source : allSources) {
            if (!notes(options, source, {failed}).empty()) {
                names.emplace_back(code(source));
            }
        }
        EXPECT_EQ(names, missed);
    }
}

TEST(SourceNotes, ThatNobodyTellsOfAReturnIsToldAtOnce) {
    CollectionOptions options;
    options.awaitsReturn = true;
    std::vector<std::string> told;
    SourceNotes notes(options, [&](const std::string& note) { told.push_back(note); });
    const SourceCondition starting{.state = SourceState::starting};
    const SourceCondition listening{.state = SourceState::listening};
    for (const auto& condition : {{}, starting, off, starting, off, listening, listening}) {
        notes.lifecycleChanged(condition);
        notes.collected({{Source::lifecycle, {}, {}, failed}}); // was told by then
    }
    EXPECT_THAT(told, ElementsAre("lifecycle: hci0 is off: press; nothing but --every would make "
                                  "it collect again",
                                  "lifecycle: works again"));
}

} // namespace
} // namespace Ambrel
