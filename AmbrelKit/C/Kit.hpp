#ifndef AMBRELKIT_C_KIT_HPP
#define AMBRELKIT_C_KIT_HPP

#include "AmbrelKit/C/Delegate.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>

#include <memory>
#include <utility>

/// A facade, on whatever platform, and the delegate that the facade knows weakly.
struct ambrel_kit : AmbrelKit::C::Counted {
    explicit ambrel_kit(std::shared_ptr<AmbrelKit::AmbrelSDK> facade) : sdk(std::move(facade)) {}
    ambrel_kit(const ambrel_kit&) = delete;
    ambrel_kit& operator=(const ambrel_kit&) = delete;
    /// A call of the delegate's that is on the stack holds it, and it would still be asked.
    ~ambrel_kit() { sdk->setDelegate({}); }

    std::shared_ptr<AmbrelKit::AmbrelSDK> sdk;
    std::shared_ptr<AmbrelKit::C::Delegate> delegate;
};

#endif
