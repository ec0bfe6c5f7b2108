#ifndef AMBRELKIT_DIFFERENCE_COMMONPART_HPP
#define AMBRELKIT_DIFFERENCE_COMMONPART_HPP

#include "AmbrelKit/Difference/ValueTable.hpp"

#include <cstddef>
#include <utility>
#include <vector>

namespace AmbrelKit::Differences {

/// The places (in `a` and in `b`, both ascending) of what the lists have in common: the most that
/// is possible where the two differ in at most 512 elements between their common beginning and
/// end, else much of it. In the worst case (N + M) * 1,024 steps and 1 MiB beside the result.
std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>> commonPart(const std::vector<Value>& a,
                                                                  const std::vector<Value>& b);

} // namespace AmbrelKit::Differences

#endif
