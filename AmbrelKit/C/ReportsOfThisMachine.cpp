#include "AmbrelKit/C/ReportsHandle.hpp"
#include "AmbrelKit/Linux/SourceReports.hpp"

using namespace AmbrelKit;

extern "C" {

int ambrel_source_reports_new(const ambrel_observer* observer, ambrel_source_reports** reports,
                              ambrel_error* error) {
    return C::makeReports(observer, reports, error, Linux::sourceReports);
}
}
