#include "AmbrelKit/Platform/SourceBoard.hpp"

#include <new>
#include <utility>

namespace AmbrelKit {

namespace {

/// Of one collection that are told apart; the last one takes in what comes beyond.
constexpr std::size_t mostAbsences = 16;

constexpr std::array askedByTicks{Source::address, Source::wifi};

bool fails(SourceState state) {
    return state != SourceState::idle && state != SourceState::starting &&
           state != SourceState::listening;
}

} // namespace

/// Has the board know that a collection runs.
class SourceBoard::CollectionTimer final : public Timer {
public:
    explicit CollectionTimer(std::shared_ptr<SourceBoard> board) : board_(std::move(board)) {}
    CollectionTimer(const CollectionTimer&) = delete;
    CollectionTimer& operator=(const CollectionTimer&) = delete;
    ~CollectionTimer() override { end(); }

    void begin(std::shared_ptr<Timer> timer) {
        timer_ = std::move(timer);
        runs_ = true;
        board_->beginCollection();
    }

    void invalidate() override {
        timer_->invalidate();
        end();
    }

private:
    void end() {
        if (std::exchange(runs_, false)) {
            board_->endCollection();
        }
    }

    std::shared_ptr<SourceBoard> board_;
    std::shared_ptr<Timer> timer_;
    bool runs_ = false;
};

class SourceBoard::Reader final : public SourceReports {
public:
    Reader(std::shared_ptr<SourceBoard> board, std::function<void()> noted)
        : board_(std::move(board)), noted_(std::move(noted)) {}

    void note() const { noted_(); }

    [[nodiscard]] SourceReport report(Source source) const override {
        return board_->report(source);
    }
    [[nodiscard]] std::optional<std::chrono::system_clock::time_point>
    collectionBegan() const override {
        return board_->began_;
    }

private:
    std::shared_ptr<SourceBoard> board_;
    std::function<void()> noted_;
};

SourceBoard::SourceBoard(Clock clock) : clock_(std::move(clock)) {
    entries_.fill({.condition = {}, .since = clock_.elapsed(), .account = {}});
}

std::shared_ptr<SourceReports> SourceBoard::reports(std::function<void()> noted) {
    const bool follows = noted != nullptr;
    const auto reader = std::make_shared<Reader>(shared_from_this(), std::move(noted));
    if (follows) {
        readers_.add(reader);
    }
    return reader;
}

/// Destructors publish, too.
void SourceBoard::publish(Source source, const SourceCondition& condition) {
    try {
        take(source, condition);
    } catch (const std::bad_alloc&) {
        return;
    }
}

void SourceBoard::take(Source source, SourceCondition condition) {
    Entry& entry = this->entry(source);
    if (entry.condition == condition) {
        return;
    }
    const Time now = clock_.elapsed();
    if (running_ > 0) {
        entry.take(condition, now - begun_);
    }
    if (entry.condition.state != condition.state) {
        entry.since = now;
    }
    entry.condition = std::move(condition);
    readers_.each([](const Reader& reader) { reader.note(); });
}

void SourceBoard::answer(Source source, const SourceCondition& condition, bool isReport) {
    if (running_ > 0) {
        publish(source, condition);
        if (isReport) {
            count(source);
        }
    }
}

SourceReport SourceBoard::report(Source source) const {
    const Entry& entry = this->entry(source);
    const auto age = std::chrono::duration_cast<std::chrono::system_clock::duration>(
        clock_.elapsed() - entry.since);
    SourceReport report{.source = source,
                        .condition = entry.condition,
                        .since = clock_.date() - age,
                        .collection = entry.account};
    report.collection.outcome = entry.outcome();
    return report;
}

TimerFactory SourceBoard::collectionTimers(TimerFactory timers) {
    return [board = shared_from_this(), timers = std::move(timers)](double interval, bool repeats,
                                                                    TimerTick tick) {
        auto timer = std::make_shared<CollectionTimer>(board);
        timer->begin(timers(interval, repeats,
                            [weak = std::weak_ptr(timer), tick = std::move(tick)](Timer&) {
                                if (const auto timer = weak.lock()) {
                                    tick(*timer);
                                }
                            }));
        return timer;
    };
}

void SourceBoard::beginCollection() {
    ++running_;
    begun_ = clock_.elapsed();
    began_ = clock_.date();
    for (Entry& entry : entries_) {
        entry.beginCollection();
    }
    for (const Source source : askedByTicks) {
        if (condition(source).state == SourceState::idle) {
            publish(source, {.state = SourceState::starting});
        }
    }
}

void SourceBoard::endCollection() {
    if (--running_ > 0) {
        return;
    }
    for (const Source source : askedByTicks) {
        if (condition(source).state != SourceState::leftOut) {
            publish(source, {});
        }
    }
}

void SourceBoard::Entry::beginCollection() {
    account = {};
    asked = listened = false;
    take(condition, Time(0));
}

void SourceBoard::Entry::take(const SourceCondition& now, Time sinceBegin) {
    if (now.state == SourceState::idle) {
        return;
    }
    asked = true;
    if (condition.state == SourceState::idle && !isAway()) {
        listened = false; // it is asked anew
    }
    if (now.state == SourceState::listening) {
        comeBack(sinceBegin);
        listened = true;
        account.means = now.means;
        account.failure = now.isPartial ? now : SourceCondition();
        return;
    }
    if (listened && condition.state == SourceState::listening) {
        leave(sinceBegin);
    }
    if (fails(now.state) || !now.reason.empty()) {
        account.failure = now;
    }
    if (fails(now.state) && isAway()) {
        account.absences.back().why = now;
    }
}

void SourceBoard::Entry::leave(Time at) {
    if (account.absences.size() < mostAbsences) {
        const auto& who = account.means;
        account.absences.push_back({.from = at,
                                    .until = {},
                                    .who = who.empty() ? "it" : who.substr(0, who.find(',')),
                                    .why = {}});
    } else {
        account.absences.back().until.reset();
    }
}

void SourceBoard::Entry::comeBack(Time at) {
    if (isAway()) {
        account.absences.back().until = at;
    }
}

bool SourceBoard::Entry::isAway() const {
    return !account.absences.empty() && !account.absences.back().until;
}

SourceOutcome SourceBoard::Entry::outcome() const {
    if (!asked) {
        return SourceOutcome::notAsked;
    }
    if (!listened || isAway()) {
        return SourceOutcome::failed;
    }
    return account.absences.empty() ? SourceOutcome::listened : SourceOutcome::interrupted;
}

} // namespace AmbrelKit
