#include "tools/ambrel/Report/Presence.hpp"

#include <algorithm>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

/// What nobody looked at for longer is not known to have been there.
constexpr std::int64_t longestUnobserved = hour;

constexpr std::size_t mostRunsKept = 2'000;

} // namespace

void Presence::see(const CollectionMoment& moment) {
    if (count_ == 0) {
        firstHour_ = moment.hourOfWeek;
    } else if (!week_) {
        week_ = std::make_unique<Week>();
        ++week_->at(firstHour_);
    }
    if (week_) {
        ++week_->at(moment.hourOfWeek);
    }
    const bool goesOn = count_ > 0 && moment.ordinal == latest_.ordinal + 1 &&
                        moment.time - latest_.time <= longestUnobserved;
    if (goesOn || (count_ > 0 && moment.time - latest_.time <= gap_)) {
        runs_.back().end = moment.time;
    } else {
        runs_.push_back({moment.time, moment.time});
    }
    ++count_;
    latest_ = moment;
    if (runs_.size() > mostRunsKept) {
        coarsen(mostRunsKept / 2);
    }
}

void Presence::join(const Presence& other) {
    if (!week_) {
        week_ = std::make_unique<Week>();
        ++week_->at(firstHour_);
    }
    for (std::size_t i = 0; i < hoursOfWeek; ++i) {
        const std::size_t once = i == other.firstHour_ ? 1 : 0;
        week_->at(i) += other.week_ ? other.week_->at(i) : once;
    }
    count_ += other.count_;
    if (other.latest_.ordinal > latest_.ordinal) {
        latest_ = other.latest_;
    }
    runs_.insert(runs_.end(), other.runs_.begin(), other.runs_.end());
    std::sort(runs_.begin(), runs_.end(),
              [](const Run& one, const Run& another) { return one.begin < another.begin; });
    closeGaps(std::max(gap_, other.gap_));
    coarsen(mostRunsKept);
}

void Presence::coarsen(std::size_t mostRuns) {
    if (runs_.size() <= mostRuns) {
        return;
    }
    std::vector<std::int64_t> gaps;
    for (std::size_t i = 1; i < runs_.size(); ++i) {
        gaps.push_back(runs_[i].begin - runs_[i - 1].end);
    }
    const auto last = gaps.begin() + static_cast<std::ptrdiff_t>(runs_.size() - mostRuns - 1);
    std::nth_element(gaps.begin(), last, gaps.end());
    closeGaps(*last);
}

void Presence::closeGaps(std::int64_t greatest) {
    gap_ = greatest;
    std::vector<Run> closed;
    for (const Run& run : runs_) {
        if (!closed.empty() && run.begin - closed.back().end <= gap_) {
            closed.back().end = std::max(closed.back().end, run.end);
        } else {
            closed.push_back(run);
        }
    }
    runs_ = std::move(closed);
}

void Presence::describe(JSONDictionary& model, std::int64_t origin, bool withWeek) const {
    JSONValue runs = JSONValue::array();
    for (const Run& run : runs_) {
        runs.push_back(run.begin - origin);
        runs.push_back(run.end - origin);
    }
    model["first"] = first();
    model["last"] = last();
    model["count"] = count_;
    model["runs"] = std::move(runs);
    model["gap"] = gap_;
    if (withWeek && week_) {
        model["week"] = *week_;
    }
}

} // namespace Ambrel
