#ifndef AMBREL_THINGS_HPP
#define AMBREL_THINGS_HPP

#include "tools/ambrel/Report/Presence.hpp"

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Ambrel {

/// Something that collections saw.
struct Thing {
    Presence presence;
    std::vector<std::string> labels;   ///< what else it was seen with, the latest first
    AmbrelKit::JSONDictionary details; ///< further members of the model

    /// Adds a label, or takes it to the front; the oldest goes where there are many.
    void label(const std::string& text);

    /// Whether it comes before the other in a table: seen more often, or as often and later.
    [[nodiscard]] bool precedes(const Thing& other) const;
};

/// The things of a table for the model, in the order given. They keep at most so many runs as the
/// model may have.
AmbrelKit::JSONValue describe(const std::vector<Thing*>& things, const std::string& labelsName,
                              std::int64_t origin);

/// A table of the model: the things of one kind. Its memory is bounded however many strangers come
/// by: what was seen least, and of that the oldest, is forgotten.
class Things {
public:
    /// How a thing's key, where the model is to show it, and its labels are called there.
    Things(std::string keyName, std::string labelsName)
        : keyName_(std::move(keyName)), labelsName_(std::move(labelsName)) {}

    /// The thing of that key, which the collection saw, until the next call. Null when the
    /// collection has seen it already.
    Thing* see(const std::string& key, const CollectionMoment& moment);

    /// The table. What was first seen at `newSince` or later, a week ago at most, is new.
    [[nodiscard]] AmbrelKit::JSONDictionary model(std::int64_t origin, std::int64_t newSince);

private:
    using Entry = std::pair<const std::string, Thing>;

    /// The entries, of which so many first ones are those that a table begins with, in its order.
    std::vector<Entry*> inOrder(std::size_t firstOnes);
    void forget();

    std::string keyName_;
    std::string labelsName_;
    std::unordered_map<std::string, Thing> things_;
    std::deque<std::int64_t> firsts_; ///< of those that came in the last week
    std::size_t forgotten_ = 0;
    std::size_t forgottenOnce_ = 0; ///< of these, seen in one collection
};

} // namespace Ambrel

#endif
