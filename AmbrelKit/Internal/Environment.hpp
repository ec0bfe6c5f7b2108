#ifndef AMBRELKIT_INTERNAL_ENVIRONMENT_HPP
#define AMBRELKIT_INTERNAL_ENVIRONMENT_HPP

#include "AmbrelKit/Platform/UUID.hpp"

#include <chrono>
#include <functional>

namespace AmbrelKit {

/// The clock and the identifier source of the process. Both may be replaced, so that collections
/// can be reproduced.
class Environment {
public:
    using TimePoint = std::chrono::system_clock::time_point;

    /// The one instance, made on first use and never destroyed.
    static Environment& shared();

    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() = delete;

    /// The current time; by default the system clock's.
    std::function<TimePoint()> currentDate = std::chrono::system_clock::now;

    /// A new identifier; by default a random one.
    std::function<UUID()> generateUUID = [] { return UUID::random(); };

private:
    Environment() = default;
};

} // namespace AmbrelKit

#endif
