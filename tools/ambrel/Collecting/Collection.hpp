#ifndef AMBREL_COLLECTION_HPP
#define AMBREL_COLLECTION_HPP

#include "tools/ambrel/Collecting/CollectionOptions.hpp"
#include "tools/ambrel/Collecting/CommandLineHost.hpp"
#include "tools/ambrel/Collecting/DetailsFile.hpp"
#include "tools/ambrel/Collecting/Progress.hpp"
#include "tools/ambrel/Collecting/ResultFile.hpp"
#include "tools/ambrel/Collecting/SourceNotes.hpp"
#include "tools/ambrel/Commands.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// What a collection looks for, each type once and with its trailing dot. With "all" the common
/// types are looked for too: who announces them need not answer the question for all.
std::vector<std::string> serviceTypes(const CollectionOptions& options);

/// This machine's platform as the options would have it.
AmbrelKit::Linux::PlatformServices servicesOf(const CollectionOptions& options);

/// The kit on this machine's platform, as a program in a terminal runs it: what it delivers is
/// waited for, with the progress shown, until the user interrupts.
class Collection {
public:
    /// Says on standard error what the user should know beforehand. `observer` may be null.
    Collection(const CollectionOptions& options, std::shared_ptr<CommandLineHost> host,
               const std::shared_ptr<PlatformObserver>& observer = nullptr);
    Collection(const Collection&) = delete;
    Collection& operator=(const Collection&) = delete;
    ~Collection() = default;

    [[nodiscard]] const std::shared_ptr<AmbrelKit::AmbrelSDK>& kit() const { return kit_; }

    /// Whether a collection has begun whose dictionary `next()` has not returned yet.
    [[nodiscard]] bool isUnderWay() const { return counts_->running() || host_->hasDelivered(); }

    /// Waits for the next dictionary. Throws `EndBySignal` when the user interrupts, or the reader
    /// of standard output goes away: all is stopped then.
    Delivery next();

    /// Writes what was delivered to where the options say, prints it, and tells which sources could
    /// not listen: `notUsable` where that is to be a failure. What can't be written is told, and
    /// makes this `failed`.
    ExitStatus handOver(const Delivery& delivery);
    /// The same with this to be printed in place of its dictionary.
    ExitStatus handOver(const Delivery& delivery, const std::string& result);

private:
    void note(const std::string& text);
    [[nodiscard]] std::optional<int> wait();
    [[nodiscard]] int renewProgress();

    CollectionOptions options_;
    std::unique_ptr<ResultFile> outcome_;  ///< may be null
    std::shared_ptr<DetailsFile> details_; ///< may be null
    SourceNotes notes_;
    std::shared_ptr<AmbrelKit::SourceReports> sources_;
    std::shared_ptr<CollectionCounts> counts_ = std::make_shared<CollectionCounts>();
    std::vector<std::shared_ptr<void>> observedNetwork_;
    std::shared_ptr<CommandLineHost> host_;
    std::shared_ptr<AmbrelKit::AmbrelSDK> kit_;
    std::optional<Progress> progress_;
};

} // namespace Ambrel

#endif
