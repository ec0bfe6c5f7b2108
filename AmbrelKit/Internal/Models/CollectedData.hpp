#ifndef AMBRELKIT_INTERNAL_MODELS_COLLECTEDDATA_HPP
#define AMBRELKIT_INTERNAL_MODELS_COLLECTEDDATA_HPP

#include "AmbrelKit/Internal/Models/AmbrelData.hpp"

#include <cstddef>
#include <optional>
#include <vector>

namespace AmbrelKit {

/// The records of a store: one for each identifier, in ascending order of their opening time; of
/// two with the same time the later opened comes later. A value that shares what it holds; the
/// newest record stands apart, so that a change of it costs the same however many came before.
class CollectedData {
public:
    /// The list with `data` added, or in place of the record of the same identifier. Without `data`
    /// it is the same list.
    [[nodiscard]] CollectedData appending(const std::optional<AmbrelData>& data) const;

    /// The list that keeps the newest `limit` records from now on; absent: all of them. At least
    /// one is kept.
    [[nodiscard]] CollectedData limitedTo(std::optional<std::size_t> limit) const;

    [[nodiscard]] bool empty() const { return !newest_; }

    /// The newest record; absent when the list is empty.
    [[nodiscard]] const std::optional<AmbrelData>& last() const { return newest_; }

    /// All of the records, oldest first.
    [[nodiscard]] std::vector<AmbrelData> records() const;

    [[nodiscard]] std::optional<std::size_t> limit() const { return limit_; }

    friend bool operator==(const CollectedData& a, const CollectedData& b) {
        return a.records() == b.records();
    }

private:
    struct ByCreatedAt {
        bool operator()(const AmbrelData& a, const AmbrelData& b) const {
            return a.createdAt() < b.createdAt();
        }
    };
    using Earlier = GroupedList<AmbrelData, &AmbrelData::uuid, ByCreatedAt>;

    /// The same list, with nothing in it that is not among its records.
    [[nodiscard]] CollectedData rebuilt() const;

    Earlier earlier_; ///< may still hold older records of the newest one's identifier
    std::optional<AmbrelData> newest_;
    std::optional<std::size_t> limit_;
};

} // namespace AmbrelKit

#endif
