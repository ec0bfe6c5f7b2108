#ifndef AMBREL_PRESENCE_HPP
#define AMBREL_PRESENCE_HPP

#include "tools/ambrel/Report/LocalTime.hpp"

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

namespace Ambrel {

/// When a collection was taken.
struct CollectionMoment {
    std::int64_t time;      ///< in seconds since 1970
    std::size_t ordinal;    ///< of the collection
    std::size_t hourOfWeek; ///< in local time
};

/// For each hour of the local week.
using Week = std::array<std::size_t, hoursOfWeek>;

/// In which collections a thing was seen. It takes the memory of some thousand collections, however
/// many there are.
class Presence {
public:
    /// A collection has seen it; the collections come in the order of their times.
    void see(const CollectionMoment& moment);

    /// Whether the collection has seen it already.
    [[nodiscard]] bool wasSeenIn(const CollectionMoment& moment) const {
        return count_ > 0 && latest_.ordinal == moment.ordinal;
    }

    /// Takes what is known of another thing, which turned out to be this one, for its own. No
    /// collection may have seen both.
    void join(const Presence& other);

    /// Leaves out the shortest absences, so that there are at most so many runs: 1 or more.
    void coarsen(std::size_t mostRuns);

    [[nodiscard]] std::int64_t first() const { return runs_.front().begin; }
    [[nodiscard]] std::int64_t last() const { return latest_.time; }
    [[nodiscard]] std::size_t count() const { return count_; }
    [[nodiscard]] std::size_t runCount() const { return runs_.size(); }

    /// The members of the model that tell of it, with the runs in seconds from `origin` on.
    void describe(AmbrelKit::JSONDictionary& model, std::int64_t origin, bool withWeek) const;

private:
    /// The first and the last collection that saw it without one between that did not.
    struct Run {
        std::int64_t begin;
        std::int64_t end;
    };

    void closeGaps(std::int64_t greatest);

    std::size_t count_ = 0;
    CollectionMoment latest_{};
    std::vector<Run> runs_;
    std::int64_t gap_ = 0;       ///< the greatest absence that the runs leave out
    std::size_t firstHour_ = 0;  ///< of the week; most things are seen but once
    std::unique_ptr<Week> week_; ///< for those seen again
};

} // namespace Ambrel

#endif
