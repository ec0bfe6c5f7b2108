#ifndef AMBREL_CHANGES_HPP
#define AMBREL_CHANGES_HPP

#include "tools/ambrel/Terminal/Style.hpp"

#include "AmbrelKit/Internal/Extensions/Text.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"
#include "AmbrelKit/Platform/SourceReport.hpp"

#include <array>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

/// As docs/changes.schema.json has it; its keys are in the order in which they are written.
using Change = nlohmann::ordered_json;

/// Tells what appeared, changed or went from one collection to the next: peripherals by their
/// address, services by type and name, networks by name, and the device's own address. Texts are
/// compared by canonical equivalence.
///
/// A source that did not listen throughout a collection tells nothing by what it left out: its part
/// is passed over, and the next one is compared with what was known before.
class Changes {
public:
    /// The changes to a further collection; empty `sources` stand for one that was delivered
    /// before.
    std::vector<Change> next(const AmbrelKit::JSONDictionary& collection,
                             const std::vector<AmbrelKit::SourceReport>& sources);

private:
    /// What is told of one kind of things.
    struct Known {
        AmbrelKit::JSONValue timestamp; ///< of the collection; null before the first
        std::map<std::vector<AmbrelKit::Text>, AmbrelKit::JSONDictionary> things; ///< by identity
    };

    static constexpr std::size_t kinds = 4;
    std::array<Known, kinds> known_;
};

/// A change as a line for people, in local time.
std::string line(const Change& change, const Style& style);

} // namespace Ambrel

#endif
