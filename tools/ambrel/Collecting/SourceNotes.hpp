#ifndef AMBREL_SOURCENOTES_HPP
#define AMBREL_SOURCENOTES_HPP

#include "tools/ambrel/Collecting/CollectionOptions.hpp"

#include "AmbrelKit/Platform/SourceReport.hpp"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// Tells the user which of the wanted sources could not listen, and what would help: each once,
/// until it is for another reason, and once more when it works again.
class SourceNotes {
public:
    using Tell = std::function<void(const std::string& note)>;

    SourceNotes(CollectionOptions options, Tell tell)
        : options_(std::move(options)), tell_(std::move(tell)) {}

    /// How the sources fared in a collection that is over.
    void collected(const std::vector<AmbrelKit::SourceReport>& sources);

    /// That nobody would tell of a return can't wait for the next collection.
    void lifecycleChanged(const AmbrelKit::SourceCondition& condition);

private:
    void tell(AmbrelKit::Source source, const AmbrelKit::SourceAccount& account);

    CollectionOptions options_;
    Tell tell_;
    std::array<std::optional<AmbrelKit::SourceCondition>, AmbrelKit::allSources.size()> told_;
};

} // namespace Ambrel

#endif
