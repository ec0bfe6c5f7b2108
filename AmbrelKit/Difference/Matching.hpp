#ifndef AMBRELKIT_DIFFERENCE_MATCHING_HPP
#define AMBRELKIT_DIFFERENCE_MATCHING_HPP

#include "AmbrelKit/Difference/ValueTable.hpp"

#include <vector>

namespace AmbrelKit::Differences {

/// A part of one value, and the part of another with which it is to be compared; null where there
/// is none.
struct Match {
    const Part* before;
    const Part* after;
};

struct Matches {
    std::vector<Match> all;
    bool inOrder = true; ///< those that have both
};

/// The parts of the same name, or in lists of the same identity, the k-th with the k-th, in the
/// order of `before`; what is only in `after` stands where it stands there.
Matches matchedByIdentity(ValueTable& table, const Node& before, const Node& after);

/// The elements of two lists by what they have in common; between that, as many of the one as of
/// the other are compared in their order.
Matches matchedByPlace(const Node& before, const Node& after);

} // namespace AmbrelKit::Differences

#endif
