#ifndef AMBRELKIT_PLATFORM_APPLICATION_HPP
#define AMBRELKIT_PLATFORM_APPLICATION_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace AmbrelKit {

/// Identifies a background task of an application.
using BackgroundTaskIdentifier = std::int64_t;

/// The host application as its platform sees it. Used on one thread, also from its own handlers.
class AMBRELKIT_API Application {
public:
    virtual ~Application() = default;

    /// The application object of the calling thread, made on first use and kept until the thread
    /// ends; the main thread's is never destroyed.
    static std::shared_ptr<Application> shared();

    /// Asks the platform to let the application work on for a while when it would otherwise be
    /// suspended. `name` is for people (UTF-8). `expirationHandler` runs from the run loop when the
    /// time is up; the task is to be ended then. Returns at once with the task's identifier.
    virtual BackgroundTaskIdentifier
    beginBackgroundTask(const std::string& name, std::function<void()> expirationHandler) = 0;

    /// Ends a task. Does nothing for a task that was ended before.
    virtual void endBackgroundTask(BackgroundTaskIdentifier identifier) = 0;
};

} // namespace AmbrelKit

#endif
