#ifndef AMBRELKIT_PLATFORM_WEAKLY_HPP
#define AMBRELKIT_PLATFORM_WEAKLY_HPP

#include <functional>
#include <memory>
#include <utility>

namespace AmbrelKit {

/// A callback that does nothing once `self` is gone: it keeps `self` alive while it runs, and is
/// given what it is called with after `self`. `body` is a member of `Self`, or anything that takes
/// a `Self&` first.
template <class Self, class Body> [[nodiscard]] auto weakly(std::weak_ptr<Self> self, Body body) {
    return [self = std::move(self), body = std::move(body)](auto&&... arguments) {
        if (const auto alive = self.lock()) {
            static_cast<void>(
                std::invoke(body, *alive, std::forward<decltype(arguments)>(arguments)...));
        }
    };
}

/// The same, known by one who holds it.
template <class Self, class Body>
[[nodiscard]] auto weakly(const std::shared_ptr<Self>& self, Body body) {
    return weakly(std::weak_ptr<Self>(self), std::move(body));
}

} // namespace AmbrelKit

#endif
