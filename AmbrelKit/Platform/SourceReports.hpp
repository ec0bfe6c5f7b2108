#ifndef AMBRELKIT_PLATFORM_SOURCEREPORTS_HPP
#define AMBRELKIT_PLATFORM_SOURCEREPORTS_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <chrono>
#include <optional>
#include <vector>

namespace AmbrelKit {

/// How each source of a platform fares: an owned handle, used on the thread of its run loop, also
/// from callbacks. What it tells is what the sources know at that moment; nobody is asked for it.
/// `Linux::sourceReports()` makes one for this machine, a `Simulated::Platform` one of its own.
class AMBRELKIT_API SourceReports {
public:
    SourceReports() = default;
    SourceReports(const SourceReports&) = delete;
    SourceReports& operator=(const SourceReports&) = delete;
    virtual ~SourceReports() = default;

    /// What is known of that source now; without waiting, and without asking anyone.
    [[nodiscard]] virtual SourceReport report(Source source) const = 0;

    /// When the collection began that runs, else the last one; absent before the first.
    [[nodiscard]] virtual std::optional<std::chrono::system_clock::time_point>
    collectionBegan() const = 0;

    /// One for each source, in the order of `allSources`.
    [[nodiscard]] std::vector<SourceReport> reports() const {
        std::vector<SourceReport> all;
        all.reserve(allSources.size());
        for (const Source source : allSources) {
            all.push_back(report(source));
        }
        return all;
    }
};

/// All reports as one dictionary, in the form that docs/outcome.schema.json describes. On the
/// thread of the handle.
[[nodiscard]] AMBRELKIT_API JSONDictionary dictionary(const SourceReports& reports);

} // namespace AmbrelKit

#endif
