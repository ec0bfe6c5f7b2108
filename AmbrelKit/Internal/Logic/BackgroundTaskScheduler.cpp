#include "AmbrelKit/Internal/Logic/BackgroundTaskScheduler.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit {

namespace {

constexpr const char* taskName = "org.ambrelkit.AmbrelKit.backgroundTask";

} // namespace

BackgroundTaskScheduler::BackgroundTaskScheduler(std::shared_ptr<Application> application)
    : application_(std::move(application)) {}

void BackgroundTaskScheduler::beginBackgroundTask() {
    endBackgroundTask();
    backgroundTaskIdentifier_ = application_->beginBackgroundTask(
        taskName, weakly(weak_from_this(), &BackgroundTaskScheduler::endBackgroundTask));
}

void BackgroundTaskScheduler::endBackgroundTask() {
    if (const auto identifier = std::exchange(backgroundTaskIdentifier_, std::nullopt)) {
        application_->endBackgroundTask(*identifier);
    }
}

} // namespace AmbrelKit
