#ifndef AMBRELKIT_PLATFORM_SOURCEREPORT_HPP
#define AMBRELKIT_PLATFORM_SOURCEREPORT_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace AmbrelKit {

/// A part of the platform that reports to collections.
enum class Source : std::uint8_t {
    bluetooth, ///< peripherals
    services,  ///< DNS-SD services
    location,  ///< fixes
    address,   ///< the IPv4 address
    wifi,      ///< the joined networks
    lifecycle, ///< sleep, resumes and sessions
};

/// Every source, in the order in which they are told.
inline constexpr std::array allSources{Source::bluetooth, Source::services, Source::location,
                                       Source::address,   Source::wifi,     Source::lifecycle};

/// What a source does now. More may be added.
enum class SourceState : std::uint8_t {
    idle,        ///< nobody asks it
    starting,    ///< it is asked, and cannot tell yet whether it will listen
    listening,   ///< what is there to be reported is reported
    unavailable, ///< what it needs is not there: an adapter, a daemon, the bus, an interface
    off,         ///< what it needs is there, and switched off or blocked
    refused,     ///< the bus, the daemon or its user does not let this program
    leftOut,     ///< it is not in this build
};

/// How a source fared in a collection.
enum class SourceOutcome : std::uint8_t {
    notAsked,    ///< the host does not permit it, or the mode does not need it
    listened,    ///< and was never away from when it began to
    interrupted, ///< it listened, was away, and came back
    failed,      ///< it never listened, or was away when the collection ended; what is left out of
                 ///< the build fails also where the host does not permit it
};

/// The short name of a source for programs, which stays as it is: "bluetooth". On any thread.
[[nodiscard]] AMBRELKIT_API std::string_view code(Source source);
/// The same of a state: "left-out".
[[nodiscard]] AMBRELKIT_API std::string_view code(SourceState state);
/// The same of how a source fared: "not-asked".
[[nodiscard]] AMBRELKIT_API std::string_view code(SourceOutcome outcome);

/// What is known of a source at a time. The texts are English, for people, and may change.
struct SourceCondition {
    /// What it does.
    SourceState state = SourceState::idle;
    std::string means = {};  ///< by what it listens: "BlueZ, hci0"; a comma ends whose it is
    std::string code = {};   ///< of the reason, for programs: it stays as it is
    std::string reason = {}; ///< what stands in the way, or is not as it could be
    std::string remedy = {}; ///< what would help
    bool isPartial = false;  ///< it listens, and for this reason may not hear of all that is there

    /// Memberwise.
    bool operator==(const SourceCondition&) const = default;
};

/// A time in which a source that had listened did not.
struct SourceAbsence {
    std::chrono::nanoseconds from{};               ///< since the collection began
    std::optional<std::chrono::nanoseconds> until; ///< absent: it did not come back
    std::string who;                               ///< was away: "BlueZ"
    SourceCondition why;                           ///< what it said last of itself meanwhile

    /// Memberwise.
    bool operator==(const SourceAbsence&) const = default;
};

/// What a source did in one collection, so far.
struct SourceAccount {
    /// How it fared.
    SourceOutcome outcome = SourceOutcome::notAsked;
    std::string means = {};                   ///< by what it listened last
    std::size_t reports = 0;                  ///< that it gave to the kit
    std::vector<SourceAbsence> absences = {}; ///< in their order
    SourceCondition failure = {}; ///< what it said last when not listening, or hearing a part

    /// Memberwise.
    bool operator==(const SourceAccount&) const = default;
};

/// How a source fares now, and fared in the collection. A value: it does not follow what changes.
struct SourceReport {
    /// Whose it is.
    Source source{};
    SourceCondition condition;                   ///< now
    std::chrono::system_clock::time_point since; ///< when that state began
    SourceAccount collection;                    ///< the one that runs, else the last one
};

/// What stands in the way, and what would help, where that is known: "hci0 is switched off:
/// bluetoothctl power on". On any thread.
[[nodiscard]] AMBRELKIT_API std::string withRemedy(const std::string& reason,
                                                   const std::string& remedy);

/// What people should know of a collection, in one printable line: "hci0 is switched off:
/// bluetoothctl power on", "BlueZ was away from 3.1 s to 3.6 s". Empty when the source listened to
/// all throughout, but for moments within a tenth of a second, or was not asked. On any thread.
[[nodiscard]] AMBRELKIT_API std::string shortfall(const SourceAccount& account);

/// The report as a dictionary, without the name of its source: one of those that
/// docs/outcome.schema.json describes. On any thread.
[[nodiscard]] AMBRELKIT_API JSONDictionary dictionary(const SourceReport& report);

} // namespace AmbrelKit

#endif
