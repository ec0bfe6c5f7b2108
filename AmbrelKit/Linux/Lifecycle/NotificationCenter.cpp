#include "AmbrelKit/Platform/NotificationCenter.hpp"

#include "AmbrelKit/Linux/Lifecycle/Logind.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/RunLoop/OfThisThread.hpp"

#include <algorithm>
#include <utility>
#include <vector>

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

    [[nodiscard]] bool observes(std::string_view name) const {
        return registered_ && (!name_ || *name_ == name);
    }

    void receive(const Notification& notification) const { block_(notification); }

    void unregister() {
        registered_ = false;
        logind_.reset();
    }

private:
    std::optional<std::string> name_;
    std::function<void(const Notification&)> block_;
    bool registered_ = true;
    std::shared_ptr<Linux::Logind> logind_; ///< who posts it; followed while somebody listens
};

class ThreadNotificationCenter final : public NotificationCenter {
public:
    std::shared_ptr<NotificationObserver>
    addObserver(const std::optional<std::string>& name,
                std::function<void(const Notification&)> block) override {
        std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
        auto observer = std::make_shared<BlockObserver>(name, std::move(block));
        observers_.push_back(observer);
        return observer;
    }

    void removeObserver(const std::shared_ptr<NotificationObserver>& observer) override {
        const auto found =
            std::find_if(observers_.begin(), observers_.end(), [&](const auto& registered) {
                return observer != nullptr && registered.lock() == observer;
            });
        if (found != observers_.end()) {
            found->lock()->unregister(); // a post that is on its way has it in its list still
            observers_.erase(found);
        }
    }

    void post(std::string_view name) override {
        const Notification notification{.name = std::string(name)};
        const auto observers = observers_; // a block may register, unregister, post
        for (const auto& weak : observers) {
            if (const auto observer = weak.lock(); observer && observer->observes(name)) {
                observer->receive(notification);
            }
        }
    }

private:
    std::vector<std::weak_ptr<BlockObserver>> observers_;
};

} // namespace

std::shared_ptr<NotificationCenter> NotificationCenter::default_() {
    return Linux::ofThisThread([] { return std::make_shared<ThreadNotificationCenter>(); });
}

} // namespace AmbrelKit
