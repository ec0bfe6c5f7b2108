#ifndef AMBRELKIT_C_TRACE_HPP
#define AMBRELKIT_C_TRACE_HPP

#include "AmbrelKit/C/Edge.hpp"

#include <ambrelkit-simulated.h>

#include <functional>
#include <memory>
#include <string_view>

namespace AmbrelKit::C {

using TraceCallbacks = Callbacks<ambrel_trace>;

/// What hands a line of a trace to the host.
inline std::function<void(std::string_view)> printTo(std::shared_ptr<TraceCallbacks> trace) {
    return [trace = std::move(trace)](std::string_view line) {
        if ((*trace)->line != nullptr) {
            (*trace)->line((*trace)->context, line.data(), line.size());
        }
    };
}

/// A line of a script is wrong.
inline Failure scriptFailure(std::size_t line, const std::string& reason) {
    return {-EBADMSG, AMBREL_ERROR_DOMAIN_SCRIPT, static_cast<int>(line), reason};
}

} // namespace AmbrelKit::C

#endif
