#ifndef AMBRELKIT_PLATFORM_SOURCEBOARD_HPP
#define AMBRELKIT_PLATFORM_SOURCEBOARD_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/SourceReports.hpp"
#include "AmbrelKit/Platform/Timer.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

namespace AmbrelKit {

/// Where the sources of a platform write how they fare, and the only place where it is read: one
/// for each run loop, used on its thread. It asks nobody and waits for nothing. A source says what
/// it knows when that changes, and counts what it reports.
class AMBRELKIT_API SourceBoard : public std::enable_shared_from_this<SourceBoard> {
public:
    /// What a board reads time from.
    struct Clock {
        std::function<std::chrono::nanoseconds()>
            elapsed; ///< since whenever; steady, sleep included
        /// The wall clock.
        std::function<std::chrono::system_clock::time_point()> date;
    };

    /// Every source is idle on a new board.
    explicit SourceBoard(Clock clock);
    SourceBoard(const SourceBoard&) = delete;
    SourceBoard& operator=(const SourceBoard&) = delete;
    virtual ~SourceBoard() = default;

    /// What is known of the source from now on. Saying the same again costs a comparison. What
    /// there is no memory for goes untold.
    virtual void publish(Source source, const SourceCondition& condition);

    /// What was published of it last.
    [[nodiscard]] const SourceCondition& condition(Source source) const {
        return entry(source).condition;
    }

    /// The source gives so many reports to the kit, which count while a collection runs.
    void count(Source source, std::size_t reports = 1) noexcept {
        entry(source).account.reports += running_ > 0 ? reports : 0;
    }

    /// As `publish`, by a source that only a tick asks, of what it has just answered, and `count`,
    /// if that `isReport`. Nothing of it is kept while no collection runs: then nobody listens.
    void answer(Source source, const SourceCondition& condition, bool isReport);

    /// All that is known of it, with its account of the collection. Asks nobody.
    [[nodiscard]] SourceReport report(Source source) const;

    /// While a timer lives that is made by what this returns, and is not invalidated, a collection
    /// runs: what is counted belongs to the one that was begun last. The sources that only the
    /// ticks of a collection ask, address and Wi-Fi, start with it, and are idle or left out once
    /// it is over.
    [[nodiscard]] TimerFactory collectionTimers(TimerFactory timers);

    /// A handle for a reader. `noted`, where it is not empty, is called inside each `publish` that
    /// changes something: to make a note of it, and to act on that later.
    [[nodiscard]] std::shared_ptr<SourceReports> reports(std::function<void()> noted);

private:
    class CollectionTimer;
    class Reader;
    using Time = std::chrono::nanoseconds;

    struct Entry {
        SourceCondition condition;
        Time since{};
        SourceAccount account;
        bool asked = false; ///< in this collection
        bool listened = false;

        void beginCollection();
        void take(const SourceCondition& now, Time sinceBegin);
        void leave(Time at);
        void comeBack(Time at);
        [[nodiscard]] bool isAway() const;
        [[nodiscard]] SourceOutcome outcome() const;
    };

    [[nodiscard]] Entry& entry(Source source) {
        return entries_.at(static_cast<std::size_t>(source));
    }
    [[nodiscard]] const Entry& entry(Source source) const {
        return entries_.at(static_cast<std::size_t>(source));
    }
    void take(Source source, SourceCondition condition);
    void beginCollection();
    void endCollection();

    Clock clock_;
    std::array<Entry, allSources.size()> entries_;
    int running_ = 0;                                            ///< collections, of several kits
    Time begun_{};                                               ///< the one begun last
    std::optional<std::chrono::system_clock::time_point> began_; ///< the same
    WeakList<const Reader> readers_;
};

} // namespace AmbrelKit

#endif
