#ifndef AMBREL_REPLAYFEED_HPP
#define AMBREL_REPLAYFEED_HPP

#include "tools/ambrel/Live/Feed.hpp"
#include "tools/ambrel/Live/IncomingText.hpp"

#include "AmbrelKit/Simulated/Platform.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptReader.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptRunner.hpp"

#include <AmbrelKit/Platform/Timer.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace Ambrel {

/// What a script has happen, at its times; once it has ended all stays as it is.
class ReplayFeed final : public Feed {
public:
    /// `speed` is how many seconds of the script pass in one. Throws `CommandError`, also from the
    /// run loop, when the file can't be read or is wrong.
    ReplayFeed(const std::string& file, double speed);

    [[nodiscard]] Moment now() const override;
    [[nodiscard]] bool runs() const override { return !isPaused_ && !isOver_; }
    [[nodiscard]] bool isOver() const override { return isOver_; }
    [[nodiscard]] int fileDescriptor() const override;
    void takeInput() override { advance(); }
    void pause() override;
    void goOn() override;
    [[nodiscard]] std::string state() const override;

private:
    using Clock = std::chrono::steady_clock;

    void advance();
    void runUntil(std::chrono::nanoseconds time);
    bool knowsNext();
    void awaitNext();

    std::string file_;
    double speed_;
    IncomingText script_;
    AmbrelKit::Simulated::ScriptReader reader_;
    AmbrelKit::Simulated::Platform platform_;
    std::shared_ptr<AmbrelKit::SourceReports> sources_;
    std::shared_ptr<PlatformObserver> observer_;
    std::shared_ptr<void> observedNetwork_;
    std::optional<AmbrelKit::Simulated::ScriptRunner> runner_;
    std::optional<AmbrelKit::Simulated::ScriptStep> next_; ///< nothing: not read yet
    bool isOver_ = false;
    bool isPaused_ = false;
    Clock::time_point last_; ///< at which the script's time stood where it stands
    std::shared_ptr<AmbrelKit::Timer> timer_;
};

} // namespace Ambrel

#endif
