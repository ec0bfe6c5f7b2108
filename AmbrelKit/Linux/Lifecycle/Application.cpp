#include "AmbrelKit/Platform/Application.hpp"

namespace AmbrelKit {

namespace {

/// A process that nothing suspends: a task is only a number, and its time is never up.
class UnsuspendedApplication final : public Application {
public:
    BackgroundTaskIdentifier
    beginBackgroundTask(const std::string& /*name*/,
                        std::function<void()> /*expirationHandler*/) override {
        return ++lastTask_;
    }

    void endBackgroundTask(BackgroundTaskIdentifier /*identifier*/) override {}

private:
    BackgroundTaskIdentifier lastTask_ = 0;
};

} // namespace

std::shared_ptr<Application> Application::shared() {
    thread_local const auto application = std::make_shared<UnsuspendedApplication>();
    return application;
}

} // namespace AmbrelKit
