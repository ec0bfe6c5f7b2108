#ifndef AMBRELKIT_C_OBSERVER_HPP
#define AMBRELKIT_C_OBSERVER_HPP

#include "AmbrelKit/C/Edge.hpp"

#include <functional>
#include <memory>

namespace AmbrelKit::C {

/// Gives `start` what tells the observer of a change, which is empty without one. The observer is
/// taken over unless `start` throws.
template <class Start> void observe(const ambrel_observer* observer, Start start) {
    if (observer == nullptr) {
        return start(std::function<void()>());
    }
    const auto callbacks = std::make_shared<Callbacks<ambrel_observer>>(*observer);
    start([callbacks] {
        if (const auto changed = (*callbacks)->changed) {
            checked(changed((*callbacks)->context));
        }
    });
    callbacks->takeOver();
}

} // namespace AmbrelKit::C

#endif
