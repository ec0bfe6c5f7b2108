#ifndef AMBRELKIT_LINUX_DIAGNOSIS_DIAGNOSIS_HPP
#define AMBRELKIT_LINUX_DIAGNOSIS_DIAGNOSIS_HPP

#include "AmbrelKit/Linux/Location/LocationOptions.hpp"
#include "AmbrelKit/Linux/NearbyDevices/MDNSStack.hpp"
#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

/// What was found of one source. The texts are English, for people, and may change.
struct SourceDiagnosis {
    std::string source; ///< one of `Diagnosis::sources()`
    /// Whether a collection would use it as well as this machine could.
    bool usable = false;
    std::string finding;                   ///< what is used here, or what stands in the way
    std::string remedy;                    ///< what would make it work, or work better
    SourceState state = SourceState::idle; ///< in which a collection would find it
    std::string code = {};                 ///< of the reason, as in `SourceCondition`
};

/// An examination of the sources that a collection on this machine would use: an owned handle of
/// the thread that made it; dropping it ends the examination, and `done` is not called any more.
class AMBRELKIT_API Diagnosis {
public:
    virtual ~Diagnosis() = default;

    /// What can be examined: "bluetooth", "services", "location", "address", "wifi", "lifecycle".
    /// On any thread.
    [[nodiscard]] static std::vector<std::string> sources();

    /// Begins to examine the sources `wanted` by using them as a collection with these options
    /// does, until each has answered; so GeoClue may be asked for the location, and ask in turn.
    /// `done` is called once, from the run loop of the calling thread, after at most seven seconds,
    /// with an entry for each source that is wanted, in the order of `sources()`. It may drop the
    /// handle. Throws as `platformServices(options, mdns)` does, and std::invalid_argument for an
    /// unknown source.
    [[nodiscard]] static std::shared_ptr<Diagnosis>
    start(const LocationOptions& options,
          std::function<void(const std::vector<SourceDiagnosis>&)> done,
          const std::vector<std::string>& wanted = sources(),
          MDNSStack mdns = MDNSStack::automatic);

protected:
    Diagnosis() = default;
    /// For those who derive.
    ///@{
    Diagnosis(const Diagnosis&) = default;
    Diagnosis& operator=(const Diagnosis&) = default;
    ///@}
};

} // namespace AmbrelKit::Linux

#endif
