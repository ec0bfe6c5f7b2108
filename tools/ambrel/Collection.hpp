#ifndef AMBREL_COLLECTION_HPP
#define AMBREL_COLLECTION_HPP

#include "tools/ambrel/CollectionOptions.hpp"
#include "tools/ambrel/Host.hpp"
#include "tools/ambrel/Progress.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// What a collection looks for, each type once and with its trailing dot.
std::vector<std::string> serviceTypes(const CollectionOptions& options);

/// The kit on this machine's platform, as a program in a terminal runs it: what it delivers is
/// waited for, with the progress shown, until the user interrupts.
class Collection {
public:
    /// Says on standard error what the user should know beforehand. `observer` may be null.
    Collection(const CollectionOptions& options, std::shared_ptr<Host> host,
               const std::shared_ptr<PlatformObserver>& observer = nullptr);

    [[nodiscard]] const std::shared_ptr<AmbrelKit::AmbrelSDK>& kit() const { return kit_; }

    /// Whether a collection has begun whose dictionary `next()` has not returned yet.
    [[nodiscard]] bool isUnderWay() const { return counts_->running(); }

    /// Waits for the next dictionary. Nothing when the user interrupted: all is stopped then. A
    /// reader of standard output that goes away ends the program.
    std::optional<AmbrelKit::JSONDictionary> next();

private:
    enum class Ending { delivered, interrupted, readerGone };

    [[nodiscard]] Ending wait();
    [[nodiscard]] int renewProgress();

    std::shared_ptr<CollectionCounts> counts_ = std::make_shared<CollectionCounts>();
    std::optional<ObservedNetwork> countedNetwork_;
    std::optional<ObservedNetwork> observedNetwork_;
    std::shared_ptr<Host> host_;
    std::shared_ptr<AmbrelKit::AmbrelSDK> kit_;
    bool showsProgress_;
    std::optional<Progress> progress_;
};

} // namespace Ambrel

#endif
