#ifndef AMBRELKIT_LINUX_DIAGNOSIS_DIAGNOSIS_HPP
#define AMBRELKIT_LINUX_DIAGNOSIS_DIAGNOSIS_HPP

#include "AmbrelKit/Linux/Location/LocationOptions.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

/// What was found of one source. The texts are English, for people, and may change.
struct SourceDiagnosis {
    std::string source; ///< "bluetooth", "services", "location", "address", "wifi" or "lifecycle"
    bool usable = false;
    std::string finding; ///< what would be used here, or what stands in the way
    std::string remedy;  ///< what would make it work; empty when it does
};

/// An examination of every source that a collection on this machine would use: an owned handle,
/// dropping it ends the examination.
class Diagnosis {
public:
    virtual ~Diagnosis() = default;

    /// Begins to examine the sources as a collection with these options would use them; so GeoClue
    /// may be asked for the location, and ask in turn. `done` is called once, from the run loop of
    /// the calling thread, after at most seven seconds, with an entry for each source in the order
    /// above. It may drop the handle. Throws as `platformServices(options)` does.
    [[nodiscard]] static std::shared_ptr<Diagnosis>
    start(const LocationOptions& options,
          std::function<void(const std::vector<SourceDiagnosis>&)> done);

protected:
    Diagnosis() = default;
    Diagnosis(const Diagnosis&) = default;
    Diagnosis& operator=(const Diagnosis&) = default;
};

} // namespace AmbrelKit::Linux

#endif
