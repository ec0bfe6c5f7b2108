#ifndef AMBREL_COLLECTION_HPP
#define AMBREL_COLLECTION_HPP

#include "tools/ambrel/CollectionOptions.hpp"
#include "tools/ambrel/CommandLineHost.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Progress.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// What a collection looks for, each type once and with its trailing dot. With "all" the common
/// types are looked for too: who announces them need not answer the question for all.
std::vector<std::string> serviceTypes(const CollectionOptions& options);

/// The kit on this machine's platform, as a program in a terminal runs it: what it delivers is
/// waited for, with the progress shown, until the user interrupts.
class Collection {
public:
    /// Says on standard error what the user should know beforehand. `observer` may be null.
    Collection(const CollectionOptions& options, std::shared_ptr<CommandLineHost> host,
               const std::shared_ptr<PlatformObserver>& observer = nullptr);

    [[nodiscard]] const std::shared_ptr<AmbrelKit::AmbrelSDK>& kit() const { return kit_; }

    /// Whether a collection has begun whose dictionary `next()` has not returned yet.
    [[nodiscard]] bool isUnderWay() const { return counts_->running(); }

    /// Waits for the next dictionary. Throws `EndBySignal` when the user interrupts, or the reader
    /// of standard output goes away: all is stopped then.
    AmbrelKit::JSONDictionary next();

    /// A line for the user on standard error; none with --quiet.
    void note(const std::string& text);

private:
    [[nodiscard]] std::optional<int> wait();
    [[nodiscard]] int renewProgress();

    std::shared_ptr<CollectionCounts> counts_ = std::make_shared<CollectionCounts>();
    std::shared_ptr<void> countedNetwork_;
    std::shared_ptr<void> observedNetwork_;
    std::shared_ptr<CommandLineHost> host_;
    std::shared_ptr<AmbrelKit::AmbrelSDK> kit_;
    CollectionOptions options_;
    std::optional<Progress> progress_;
};

/// Saves what was delivered where the options say so, and prints it. What can't be saved is told,
/// and makes this `failed`.
ExitStatus handOver(const AmbrelKit::JSONDictionary& data, const CollectionOptions& options);

} // namespace Ambrel

#endif
