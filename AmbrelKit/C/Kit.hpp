#ifndef AMBRELKIT_C_KIT_HPP
#define AMBRELKIT_C_KIT_HPP

#include "AmbrelKit/C/Delegate.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>

#include <memory>
#include <utility>

/// A facade, on whatever platform, and the delegate that the facade knows weakly.
struct ambrel_kit : AmbrelKit::C::Counted {
    explicit ambrel_kit(std::shared_ptr<AmbrelKit::AmbrelSDK> facade) : sdk(std::move(facade)) {}

    std::shared_ptr<AmbrelKit::AmbrelSDK> sdk;
    std::shared_ptr<AmbrelKit::C::Delegate> delegate;
};

#endif
