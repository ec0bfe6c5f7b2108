#include "AmbrelKit/Simulated/Lifecycle.hpp"

#include <utility>

namespace AmbrelKit::Simulated {

/// Registered while it has a block.
class NotificationCenter::Observer final : public NotificationObserver {
public:
    Observer(std::shared_ptr<Context> context, std::shared_ptr<Sources> sources,
             std::optional<std::string> name, std::function<void(const Notification&)> block)
        : context_(std::move(context)), source_(std::move(sources), Source::lifecycle),
          name_(std::move(name)), block_(std::move(block)) {
        source_.fares({.state = SourceState::listening, .means = "simulated session"});
    }

    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    ~Observer() override { unregister(); }

    void unregister() {
        if (block_) {
            context_->report("notification", "removeObserver");
            block_ = nullptr;
            source_.fares({});
        }
    }

    [[nodiscard]] bool observes(std::string_view name) const {
        return block_ && (!name_ || *name_ == name);
    }

    [[nodiscard]] std::function<void(const Notification&)> block() const { return block_; }

private:
    std::shared_ptr<Context> context_;
    Sources::Part source_;
    std::optional<std::string> name_;
    std::function<void(const Notification&)> block_;
};

NotificationCenter::NotificationCenter(std::shared_ptr<Context> context,
                                       std::shared_ptr<Sources> sources)
    : context_(std::move(context)), sources_(std::move(sources)) {}

std::shared_ptr<NotificationObserver>
NotificationCenter::addObserver(const std::optional<std::string>& name,
                                std::function<void(const Notification&)> block) {
    context_->report("notification", "addObserver");
    auto observer = std::make_shared<Observer>(context_, sources_, name, std::move(block));
    observers_.add(observer);
    return observer;
}

void NotificationCenter::removeObserver(const std::shared_ptr<NotificationObserver>& observer) {
    const auto ours = std::dynamic_pointer_cast<Observer>(observer);
    if (ours && observers_.contains(ours)) {
        ours->unregister();
        observers_.remove(ours);
    }
}

void NotificationCenter::post(std::string_view name) {
    const Notification notification{std::string(name)};
    observers_.each([&](const Observer& observer) {
        if (observer.observes(name)) {
            const auto block = observer.block(); // it may unregister itself
            sources_->count(Source::lifecycle);
            block(notification);
        }
    });
}

Application::Application(std::shared_ptr<Context> context) : context_(std::move(context)) {}

BackgroundTaskIdentifier Application::beginBackgroundTask(const std::string& name,
                                                          std::function<void()> expirationHandler) {
    const BackgroundTaskIdentifier identifier = ++lastIdentifier_;
    context_->report("application", "beginBackgroundTask",
                     {{"identifier", identifier}, {"name", name}});
    tasks_.emplace(identifier, std::move(expirationHandler));
    return identifier;
}

void Application::endBackgroundTask(BackgroundTaskIdentifier identifier) {
    const auto task = tasks_.find(identifier);
    if (task == tasks_.end()) {
        return;
    }
    context_->report("application", "endBackgroundTask", {{"identifier", identifier}});
    tasks_.erase(task);
}

void Application::expire(BackgroundTaskIdentifier identifier) {
    const auto task = tasks_.find(identifier);
    if (task != tasks_.end()) {
        const auto handler = task->second; // ends the task, and with it the one that is kept
        handler();
    }
}

} // namespace AmbrelKit::Simulated
