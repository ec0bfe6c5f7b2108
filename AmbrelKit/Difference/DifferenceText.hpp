#ifndef AMBRELKIT_DIFFERENCE_DIFFERENCETEXT_HPP
#define AMBRELKIT_DIFFERENCE_DIFFERENCETEXT_HPP

#include "AmbrelKit/Difference/Difference.hpp"
#include "AmbrelKit/Difference/Matching.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace AmbrelKit::Differences {

/// Writes what differs between two values of a table.
class DifferenceText {
public:
    DifferenceText(ValueTable& table, const DifferenceOptions& options)
        : table_(table), options_(options) {}

    /// The text; `isCut` says that more was there than is compared.
    std::string operator()(Value before, Value after, bool isCut);

private:
    /// Where a part stands.
    struct Place {
        std::size_t depth = 0;
        std::string name = {}; ///< nothing for the whole
    };

    void compare(const Place& place, const Part& before, const Part& after);
    void compareParts(const Place& place, const Part& before, const Part& after);

    /// The part with all that it holds.
    void write(char mark, const Place& place, const Part& part);

    /// The line above what a part holds; gives where that stands.
    Place beginParts(char mark, const Place& place);
    void writeLine(char mark, std::size_t depth, std::string_view content);

    ValueTable& table_;
    const DifferenceOptions& options_;
    std::string text_;
    bool isFull_ = false;
};

} // namespace AmbrelKit::Differences

#endif
