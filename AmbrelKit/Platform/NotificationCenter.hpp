#ifndef AMBRELKIT_PLATFORM_NOTIFICATIONCENTER_HPP
#define AMBRELKIT_PLATFORM_NOTIFICATIONCENTER_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace AmbrelKit {

/// Posted when the host application has become active: its window came to the front, the session
/// was resumed.
inline constexpr std::string_view ApplicationDidBecomeActiveNotification =
    "org.ambrelkit.AmbrelKit.ApplicationDidBecomeActive";

/// What was posted.
struct Notification {
    /// What it is called; observers compare it byte by byte.
    std::string name;
};

/// A registered observer, as the centre hands it out. An owned handle: once its last reference is
/// gone, the observer is no longer called.
class AMBRELKIT_API NotificationObserver {
public:
    virtual ~NotificationObserver() = default;
};

/// Calls observers of a name on the thread that posts it, in the order of their registration. Used
/// on one thread.
class AMBRELKIT_API NotificationCenter {
public:
    virtual ~NotificationCenter() = default;

    /// The centre of the calling thread, made on first use and kept until the thread ends; the main
    /// thread's is never destroyed.
    static std::shared_ptr<NotificationCenter> default_();

    /// Registers `block` for `name`; absent stands for every name. What is registered or
    /// unregistered inside a block takes effect from the next post on, but an unregistered block is
    /// not called any more.
    [[nodiscard]] virtual std::shared_ptr<NotificationObserver>
    addObserver(const std::optional<std::string>& name,
                std::function<void(const Notification&)> block) = 0;

    /// Unregisters an observer of this centre. Does nothing when it is not registered.
    virtual void removeObserver(const std::shared_ptr<NotificationObserver>& observer) = 0;

    /// Calls every observer of `name` before it returns. What a block throws leaves through here,
    /// and the blocks after it are not called.
    virtual void post(std::string_view name) = 0;
};

} // namespace AmbrelKit

#endif
