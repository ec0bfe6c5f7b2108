#include "AmbrelKit/C/Observer.hpp"
#include "AmbrelKit/C/ReportsHandle.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"

using namespace AmbrelKit;

extern "C" {

int ambrel_source_reports_new(const ambrel_observer* observer, ambrel_source_reports** reports,
                              ambrel_error* error) {
    return C::edge(error, [&] {
        auto& result = C::required(reports);
        auto handle = std::make_unique<ambrel_source_reports>();
        C::observe(observer, [&](std::function<void()> changed) {
            handle->reports = Linux::sourceReports(std::move(changed));
        });
        result = handle.release();
    });
}
}
