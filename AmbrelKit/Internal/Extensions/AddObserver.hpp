#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_ADDOBSERVER_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_ADDOBSERVER_HPP

#include "AmbrelKit/Platform/NotificationCenter.hpp"

#include <utility>

namespace AmbrelKit {

/// Registers `block` with `center` for `name` (absent: every name); it runs on the thread that
/// posts. The result keeps it registered.
[[nodiscard]] inline std::shared_ptr<NotificationObserver>
addObserver(NotificationCenter& center, std::optional<std::string_view> name,
            std::function<void(const Notification&)> block) {
    return center.addObserver(name ? std::optional<std::string>(*name) : std::nullopt,
                              std::move(block));
}

} // namespace AmbrelKit

#endif
