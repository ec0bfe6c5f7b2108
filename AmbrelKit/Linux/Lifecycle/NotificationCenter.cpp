#include "AmbrelKit/Platform/NotificationCenter.hpp"

#include "AmbrelKit/Linux/Lifecycle/Logind.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/RunLoop/OfThisThread.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"

#include <utility>

namespace AmbrelKit {

namespace {

class BlockObserver final : public NotificationObserver {
public:
    BlockObserver(std::optional<std::string> name, std::function<void(const Notification&)> block)
        : name_(std::move(name)), block_(std::move(block)) {
        if (observes(ApplicationDidBecomeActiveNotification)) {
            logind_ = Linux::EventLoop::current()->shared<Linux::Logind>();
        }
    }

    [[nodiscard]] bool observes(std::string_view name) const { return !name_ || *name_ == name; }
    void receive(const Notification& notification) const { block_(notification); }
    void forgetLogind() { logind_.reset(); }

private:
    std::optional<std::string> name_;
    std::function<void(const Notification&)> block_;
    std::shared_ptr<Linux::Logind> logind_; ///< who posts it; followed while somebody listens
};

class ThreadNotificationCenter final : public NotificationCenter {
public:
    std::shared_ptr<NotificationObserver>
    addObserver(const std::optional<std::string>& name,
                std::function<void(const Notification&)> block) override {
        auto observer = std::make_shared<BlockObserver>(name, std::move(block));
        observers_.add(observer);
        return observer;
    }

    void removeObserver(const std::shared_ptr<NotificationObserver>& observer) override {
        const auto known = std::dynamic_pointer_cast<BlockObserver>(observer);
        if (known && observers_.contains(known)) {
            known->forgetLogind();
            observers_.remove(known);
        }
    }

    void post(std::string_view name) override {
        const Notification notification{.name = std::string(name)};
        observers_.each([&](const BlockObserver& observer) {
            if (observer.observes(name)) {
                observer.receive(notification);
            }
        });
    }

private:
    WeakList<BlockObserver> observers_;
};

} // namespace

std::shared_ptr<NotificationCenter> NotificationCenter::default_() {
    return Linux::ofThisThread([] { return std::make_shared<ThreadNotificationCenter>(); });
}

} // namespace AmbrelKit
