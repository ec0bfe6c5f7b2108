#ifndef AMBRELKIT_C_REPORTSHANDLE_HPP
#define AMBRELKIT_C_REPORTSHANDLE_HPP

#include "AmbrelKit/C/Observer.hpp"
#include "AmbrelKit/Platform/SourceReports.hpp"

#include <memory>

/// The reports of whatever platform.
struct ambrel_source_reports : AmbrelKit::C::Counted {
    std::shared_ptr<AmbrelKit::SourceReports> reports;
};

namespace AmbrelKit::C {

/// Hands out the reports that `make` gives for what it is to call after a change.
template <class Make> int makeReports(const ambrel_observer* observer,
                                      ambrel_source_reports** reports, ambrel_error* error,
                                      Make make) {
    return edge(error, [&] {
        auto& result = required(reports);
        auto handle = std::make_unique<ambrel_source_reports>();
        observe(observer,
                [&](const std::function<void()>& changed) { handle->reports = make(changed); });
        result = handle.release();
    });
}

} // namespace AmbrelKit::C

#endif
