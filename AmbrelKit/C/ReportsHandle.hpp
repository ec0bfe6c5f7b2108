#ifndef AMBRELKIT_C_REPORTSHANDLE_HPP
#define AMBRELKIT_C_REPORTSHANDLE_HPP

#include "AmbrelKit/C/Edge.hpp"
#include "AmbrelKit/Platform/SourceReports.hpp"

#include <memory>

/// The reports of whatever platform.
struct ambrel_source_reports : AmbrelKit::C::Counted {
    std::shared_ptr<AmbrelKit::SourceReports> reports;
};

#endif
