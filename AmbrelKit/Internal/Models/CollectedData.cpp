#include "AmbrelKit/Internal/Models/CollectedData.hpp"

#include <algorithm>
#include <utility>

namespace AmbrelKit {

namespace {

/// A limited list is cut down once so many more may be in it, not at each addition; but records may
/// be large.
bool isOvergrown(std::size_t count, std::size_t limit) {
    return count > limit && count - limit > limit / 8;
}

/// A record that takes nothing in any more shares what it can with the one before it.
AmbrelData closed(const AmbrelData& record, const AmbrelData* before) {
    KnownTexts known;
    if (before != nullptr) {
        static_cast<void>(before->compacted(known)); // which tells what it has
    }
    return record.compacted(known);
}

} // namespace

CollectedData CollectedData::appending(const std::optional<AmbrelData>& data) const {
    if (!data) {
        return *this;
    }
    CollectedData list;
    list.limit_ = limit_;
    list.newest_ = data;
    if (!newest_ ||
        (newest_->uuid() == data->uuid() && newest_->createdAt() <= data->createdAt())) {
        list.earlier_ = earlier_;
        return list;
    }
    list.earlier_ = earlier_.appending(closed(*newest_, earlier_.recent()));
    const bool outOfOrder = data->createdAt() < newest_->createdAt();
    const bool overgrown = limit_ && isOvergrown(list.earlier_.countAtMost(), *limit_);
    return outOfOrder || overgrown ? list.rebuilt() : list;
}

CollectedData CollectedData::limitedTo(std::optional<std::size_t> limit) const {
    CollectedData list = *this;
    list.limit_ = limit ? std::optional(std::max<std::size_t>(*limit, 1)) : std::nullopt;
    return list.rebuilt();
}

std::vector<AmbrelData> CollectedData::records() const {
    auto records = newest_ ? earlier_.appending(*newest_).elements() : std::vector<AmbrelData>();
    if (limit_ && records.size() > *limit_) {
        records.erase(records.begin(), records.end() - static_cast<std::ptrdiff_t>(*limit_));
    }
    return records;
}

CollectedData CollectedData::rebuilt() const {
    CollectedData list;
    list.limit_ = limit_;
    auto kept = records();
    if (!kept.empty()) {
        list.newest_ = kept.back();
        kept.pop_back();
        list.earlier_ = Earlier(kept);
    }
    return list;
}

} // namespace AmbrelKit
