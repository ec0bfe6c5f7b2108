#ifndef AMBRELKIT_DIFFERENCE_DIFFERENCETEXT_HPP
#define AMBRELKIT_DIFFERENCE_DIFFERENCETEXT_HPP

#include "AmbrelKit/Difference/Difference.hpp"
#include "AmbrelKit/Difference/ValueTable.hpp"

#include <string>

namespace AmbrelKit::Differences {

/// What differs between two values of the table.
std::string differenceText(ValueTable& table, Value before, Value after,
                           const DifferenceOptions& options);

} // namespace AmbrelKit::Differences

#endif
