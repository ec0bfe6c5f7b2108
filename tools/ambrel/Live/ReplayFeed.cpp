#include "tools/ambrel/Live/ReplayFeed.hpp"

#include "tools/ambrel/Collecting/ObservedPlatform.hpp"
#include "tools/ambrel/ReadingScript.hpp"

#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Platform/RunLoop.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace Ambrel {

using namespace AmbrelKit;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

nanoseconds scaled(nanoseconds time, double factor) {
    return std::chrono::duration_cast<nanoseconds>(std::chrono::duration<double, std::nano>(time) *
                                                   factor);
}

} // namespace

ReplayFeed::ReplayFeed(const std::string& file, double speed)
    : file_(file), speed_(speed), script_(file),
      reader_(readingScript(file, [this] { return Simulated::ScriptReader(script_.stream()); })),
      platform_(reader_.header().platform),
      sources_(platform_.sourceReports([this] { sourcesChanged(*sources_); })),
      observer_(makeObserver()), observedNetwork_(observeNetwork(observer_)) {
    platform_.setMakeSDK([observer = observer_](auto... parts) {
        return Linux::create(observed(Linux::PlatformServices{std::move(parts)...}, observer));
    });
    runner_.emplace(platform_, reader_.header());
    goOn();
}

Moment ReplayFeed::now() const {
    return {.time = platform_.context()->now,
            .date = std::chrono::system_clock::time_point(
                std::chrono::floor<std::chrono::system_clock::duration>(
                    platform_.context()->wallClock()))};
}

void ReplayFeed::pause() {
    isPaused_ = true;
    timer_.reset();
    changed();
}

void ReplayFeed::goOn() {
    isPaused_ = false;
    last_ = Clock::now();
    awaitNext();
    changed();
}

void ReplayFeed::advance() {
    const nanoseconds before = platform_.clock().now();
    runUntil(before + scaled(Clock::now() - last_, speed_));
    last_ += scaled(platform_.clock().now() - before, 1 / speed_);
    awaitNext();
    changed();
}

void ReplayFeed::runUntil(nanoseconds time) {
    constexpr int most = 10'000; // steps before keys are looked at
    for (int count = 0; knowsNext() && next_->at <= time; ++count) {
        if (count == most) {
            return;
        }
        readingScript(file_, [this] { runner_->run(*next_); });
        isOver_ = std::holds_alternative<Simulated::ScriptActions::End>(next_->action);
        next_.reset();
    }
    if (next_) {
        platform_.clock().advanceTo(time);
    }
}

/// Without waiting for it.
bool ReplayFeed::knowsNext() {
    if (!next_ && !isOver_ && script_.hasLine()) {
        next_ = readingScript(file_, [this] { return reader_.next(); });
        isOver_ = !next_;
    }
    return next_.has_value();
}

int ReplayFeed::fileDescriptor() const { return runs() && !next_ ? script_.fileDescriptor() : -1; }

/// The next step, or the next second, at which the kit may tick.
void ReplayFeed::awaitNext() {
    timer_.reset();
    if (knowsNext()) {
        constexpr double least = 0.02; // seconds
        const nanoseconds now = platform_.clock().now();
        const nanoseconds until =
            std::min<nanoseconds>(next_->at, std::chrono::floor<std::chrono::seconds>(now) + 1s);
        const std::chrono::duration<double> wait = scaled(until - now, 1 / speed_);
        timer_ = RunLoop::current()->scheduledTimer(std::max(wait.count(), least), false,
                                                    [this](Timer&) { advance(); });
    }
}

std::string ReplayFeed::state() const {
    if (isOver_) {
        return "the script has ended";
    }
    const auto passed = std::chrono::floor<std::chrono::seconds>(platform_.context()->now);
    return (!runs() ? "paused, "
            : next_ ? "replay, "
                    : "waiting for the script, ") +
           std::to_string(passed.count()) + " s";
}

} // namespace Ambrel
