#include "AmbrelKit/Linux/Lifecycle/LinuxApplication.hpp"

#include "AmbrelKit/Linux/Lifecycle/Logind.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/RunLoop/OfThisThread.hpp"

#include <map>
#include <utility>

namespace AmbrelKit {

namespace {

/// Nothing suspends a process here, only the machine goes to sleep: a task delays that.
class LinuxApplication final : public Application {
public:
    BackgroundTaskIdentifier beginBackgroundTask(const std::string& name,
                                                 std::function<void()> expirationHandler) override {
        const auto logind = Linux::EventLoop::current()->shared<Linux::Logind>();
        tasks_.emplace(++lastTask_, logind->delaySleep(name, std::move(expirationHandler)));
        return lastTask_;
    }

    void endBackgroundTask(BackgroundTaskIdentifier identifier) override {
        const auto ended = tasks_.extract(identifier);
    }

private:
    BackgroundTaskIdentifier lastTask_ = 0;
    std::map<BackgroundTaskIdentifier, std::shared_ptr<Linux::SleepDelay>> tasks_;
};

} // namespace

std::shared_ptr<Application> Linux::makeApplication() {
    return std::make_shared<LinuxApplication>();
}

std::shared_ptr<Application> Application::shared() {
    return Linux::ofThisThread([] { return Linux::makeApplication(); });
}

} // namespace AmbrelKit
