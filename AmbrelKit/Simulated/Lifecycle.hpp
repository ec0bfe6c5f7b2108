#ifndef AMBRELKIT_SIMULATED_LIFECYCLE_HPP
#define AMBRELKIT_SIMULATED_LIFECYCLE_HPP

#include "AmbrelKit/Platform/Application.hpp"
#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/NotificationCenter.hpp"
#include "AmbrelKit/Platform/WeakList.hpp"
#include "AmbrelKit/Simulated/Context.hpp"
#include "AmbrelKit/Simulated/Sources.hpp"

#include <map>
#include <memory>

namespace AmbrelKit::Simulated {

/// A notification centre of its own, apart from the thread's.
class NotificationCenter final : public AmbrelKit::NotificationCenter {
public:
    /// A `Platform` makes it.
    AMBRELKIT_API NotificationCenter(std::shared_ptr<Context> context,
                                     std::shared_ptr<Sources> sources);

    [[nodiscard]] AMBRELKIT_API std::shared_ptr<NotificationObserver>
    addObserver(const std::optional<std::string>& name,
                std::function<void(const Notification&)> block) override;
    AMBRELKIT_API void
    removeObserver(const std::shared_ptr<NotificationObserver>& observer) override;
    AMBRELKIT_API void post(std::string_view name) override;

private:
    class Observer;

    std::shared_ptr<Context> context_;
    std::shared_ptr<Sources> sources_;
    WeakList<Observer> observers_; ///< in the order of their registration
};

/// An application whose background tasks expire when it is told so. Task identifiers count from 1.
class Application final : public AmbrelKit::Application {
public:
    /// A `Platform` makes it.
    AMBRELKIT_API explicit Application(std::shared_ptr<Context> context);

    AMBRELKIT_API BackgroundTaskIdentifier
    beginBackgroundTask(const std::string& name, std::function<void()> expirationHandler) override;
    AMBRELKIT_API void endBackgroundTask(BackgroundTaskIdentifier identifier) override;

    /// Runs the expiration handler of a task that was begun and not yet ended; any other is left
    /// alone. The task stays until it is ended.
    AMBRELKIT_API void expire(BackgroundTaskIdentifier identifier);

private:
    std::shared_ptr<Context> context_;
    BackgroundTaskIdentifier lastIdentifier_ = 0;
    std::map<BackgroundTaskIdentifier, std::function<void()>> tasks_;
};

} // namespace AmbrelKit::Simulated

#endif
