#ifndef AMBRELKIT_SIMULATED_CONTEXT_HPP
#define AMBRELKIT_SIMULATED_CONTEXT_HPP

#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string_view>
#include <variant>

namespace AmbrelKit::Simulated {

/// One value of a call that the kit made.
struct Argument {
    /// Its name in a trace.
    std::string_view name;
    /// Valid during the call.
    std::variant<bool, std::int64_t, double, std::string_view, const JSONDictionary*> value;
};

/// Something that the kit did to its platform or to its host: it called `operation` of `object`.
/// What an event refers to is valid only while it is handed over.
struct Event {
    std::chrono::nanoseconds at; ///< virtual time
    std::string_view object;     ///< "timer", "bluetooth", "delegate" …
    std::string_view operation;  ///< for example "startUpdatingLocation"
    /// In the order of a trace; valid during the call.
    std::span<const Argument> arguments;
};

/// Is told each event as it happens, before the simulated object acts on it. It must not throw:
/// some events come from destructors.
using EventSink = std::function<void(const Event&)>;

/// What the parts of one simulated platform share: its time, and who is told of events. The parts
/// own it together, so that one that a host keeps longer than its platform finds everything in
/// place.
struct Context {
    std::chrono::nanoseconds start{};  ///< the wall clock at virtual time 0, since 1970
    std::chrono::nanoseconds now{};    ///< virtual time
    std::chrono::nanoseconds offset{}; ///< how far the wall clock was set away from start + now
    /// Who is told; may be empty.
    EventSink sink;

    /// Since 1970.
    [[nodiscard]] std::chrono::nanoseconds wallClock() const { return start + now + offset; }

    /// Tells the sink that this object was asked that.
    void report(std::string_view object, std::string_view operation,
                std::initializer_list<Argument> arguments = {}) const {
        if (sink) {
            sink({now, object, operation, {arguments.begin(), arguments.size()}});
        }
    }
};

} // namespace AmbrelKit::Simulated

#endif
