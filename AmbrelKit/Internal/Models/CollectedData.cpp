#include "AmbrelKit/Internal/Models/CollectedData.hpp"

#include <algorithm>
#include <utility>

namespace AmbrelKit {

namespace {

/// A limited list is cut down once it has grown this far beyond its limit, not at each addition.
constexpr std::size_t slack = 64;

} // namespace

CollectedData::CollectedData(const std::vector<AmbrelData>& list) {
    CollectedData data;
    for (const AmbrelData& record : list) {
        data = data.appending(record);
    }
    *this = std::move(data);
}

CollectedData CollectedData::appending(const std::optional<AmbrelData>& data) const {
    if (!data) {
        return *this;
    }
    CollectedData list = *this;
    if (!newest_ ||
        (newest_->uuid() == data->uuid() && newest_->createdAt() <= data->createdAt())) {
        list.newest_ = data;
        return list;
    }
    list.earlier_ = earlier_.appending(*newest_);
    list.newest_ = data;
    const bool outOfOrder = data->createdAt() < newest_->createdAt();
    const bool overgrown = limit_ && list.earlier_.countAtMost() > 2 * *limit_ + slack;
    return outOfOrder || overgrown ? split(list.records(), limit_) : list;
}

CollectedData CollectedData::limitedTo(std::optional<std::size_t> limit) const {
    if (limit) {
        limit = std::max<std::size_t>(*limit, 1);
    }
    return split(records(), limit);
}

std::vector<AmbrelData> CollectedData::records() const {
    auto records = newest_ ? earlier_.appending(*newest_).elements() : std::vector<AmbrelData>();
    if (limit_ && records.size() > *limit_) {
        records.erase(records.begin(), records.end() - static_cast<std::ptrdiff_t>(*limit_));
    }
    return records;
}

CollectedData CollectedData::split(std::vector<AmbrelData> records,
                                   std::optional<std::size_t> limit) {
    CollectedData list;
    list.limit_ = limit;
    if (limit && records.size() > *limit) {
        records.erase(records.begin(), records.end() - static_cast<std::ptrdiff_t>(*limit));
    }
    if (!records.empty()) {
        list.newest_ = std::move(records.back());
        records.pop_back();
        list.earlier_ = Earlier(records);
    }
    return list;
}

} // namespace AmbrelKit
