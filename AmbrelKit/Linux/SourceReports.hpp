#ifndef AMBRELKIT_LINUX_SOURCEREPORTS_HPP
#define AMBRELKIT_LINUX_SOURCEREPORTS_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/SourceReports.hpp"

#include <functional>
#include <memory>

namespace AmbrelKit::Linux {

/// How the sources of the calling thread's run loop fare, whichever kit uses them: what they know
/// anyway, so that looking costs nothing and asks no daemon. A source that no kit has asked yet is
/// idle, unless it was left out of the build; what it needs is known once it is asked.
///
/// `changed` is called from the loop after the condition of a source has become another, once for
/// all that came together; counts alone are not told of. It may do anything, also drop the handle,
/// which ends it; what it throws leaves through the loop. Throws std::system_error when there is no
/// loop, as `RunLoop::current()` does.
[[nodiscard]] AMBRELKIT_API std::shared_ptr<SourceReports>
sourceReports(std::function<void()> changed = {});

} // namespace AmbrelKit::Linux

#endif
