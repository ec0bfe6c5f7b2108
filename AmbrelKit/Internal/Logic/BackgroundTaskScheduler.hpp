#ifndef AMBRELKIT_INTERNAL_LOGIC_BACKGROUNDTASKSCHEDULER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_BACKGROUNDTASKSCHEDULER_HPP

#include "AmbrelKit/Platform/Application.hpp"

#include <memory>
#include <optional>

namespace AmbrelKit {

/// Holds at most one background task open, so that an automatic collection goes on when the
/// application leaves the foreground.
class BackgroundTaskScheduler final : public std::enable_shared_from_this<BackgroundTaskScheduler> {
public:
    explicit BackgroundTaskScheduler(std::shared_ptr<Application> application);

    /// Begins a task, after it has ended the one that is held. When the task's time is up it is
    /// ended.
    void beginBackgroundTask();
    /// Ends the held task, if there is one.
    void endBackgroundTask();
    [[nodiscard]] bool holdsTask() const { return backgroundTaskIdentifier_.has_value(); }

private:
    std::shared_ptr<Application> application_;
    std::optional<BackgroundTaskIdentifier> backgroundTaskIdentifier_;
};

} // namespace AmbrelKit

#endif
