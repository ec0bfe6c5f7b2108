#ifndef AMBREL_SIGHTINGS_HPP
#define AMBREL_SIGHTINGS_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ambrel {

enum class SightingKind : std::uint8_t { peripheral, service, position, address, network };

inline constexpr std::array allSightingKinds{SightingKind::peripheral, SightingKind::service,
                                             SightingKind::position, SightingKind::address,
                                             SightingKind::network};

std::string_view name(SightingKind kind);

/// A time of the view, which stands still while that is paused, and what the clock says then.
struct Moment {
    std::chrono::nanoseconds time{};
    std::chrono::system_clock::time_point date;
};

/// What was seen, with all that is known of it. Texts are as strangers wrote them.
struct Sighting {
    SightingKind kind{};
    std::string identity;                   ///< among those of its kind
    std::string name;                       ///< empty where it has none
    std::string note;                       ///< what tells it from others of that name
    std::optional<int> strength = {};       ///< of its signal, in dBm
    AmbrelKit::JSONDictionary details = {}; ///< keys of docs/details.schema.json
    Moment first = {};
    Moment last = {};
    std::string key = {}; ///< by which it is sorted and found: name, note and kind in lower case

    [[nodiscard]] bool isNew(std::chrono::nanoseconds now) const;
    /// It was not seen again when it should have been.
    [[nodiscard]] bool fades(std::chrono::nanoseconds now) const;
};

enum class SightingOrder : std::uint8_t { kind, name, lastSeen, firstSeen, strength };

/// In the order in which a user goes through them.
SightingOrder next(SightingOrder order);
std::string_view name(SightingOrder order);

/// All that was seen of late.
class Sightings {
public:
    /// Takes what was reported, as `DetailedReports` tells it.
    void update(AmbrelKit::Source source, std::string_view report,
                const AmbrelKit::JSONDictionary& details, const Moment& now);

    /// Drops what was not seen for a minute.
    void drop(std::chrono::nanoseconds now);

    /// Those in which the text stands, in upper or lower case. Valid until the next change.
    [[nodiscard]] std::vector<const Sighting*> rows(SightingOrder order,
                                                    const std::string& filter) const;

    /// Null where there is none.
    [[nodiscard]] const Sighting* find(SightingKind kind, const std::string& identity) const;
    [[nodiscard]] std::size_t count(SightingKind kind) const;
    [[nodiscard]] bool isEmpty() const { return all_.empty(); }

private:
    void saw(Sighting seen, const AmbrelKit::JSONDictionary& details, const Moment& now);

    std::map<std::pair<SightingKind, std::string>, Sighting> all_;
};

} // namespace Ambrel

#endif
