#ifndef AMBRELKIT_DIFFERENCE_DRAFT_HPP
#define AMBRELKIT_DIFFERENCE_DRAFT_HPP

#include "AmbrelKit/Difference/ValueTable.hpp"

#include <cstddef>
#include <vector>

namespace AmbrelKit::Differences {

/// The values that are open, each inside the one before, while they are described.
class Draft {
public:
    static constexpr std::size_t greatestDepth = 512;
    static constexpr std::size_t greatestCount = std::size_t{1} << 20U; ///< of the parts of a value

    ValueTable table;

    /// What is being described.
    [[nodiscard]] Node& node() { return open_.back().node; }

    void label(Value name, bool isKey);
    bool open();
    void close();
    void closeAsLabel();

    void sortParts() { open_.back().isSorted = false; } ///< by their names, when it is closed

    /// Whether something was beyond the bounds.
    [[nodiscard]] bool isCut() const { return isCut_; }

private:
    struct Open {
        Part part = {}; ///< as which it joins the one before
        Node node = {};
        Part next = {};       ///< its next part as far as that is known
        bool isSorted = true; ///< or its parts are in no order of their own
    };

    Value finished();

    std::vector<Open> open_ = std::vector<Open>(1);
    std::size_t count_ = 0; ///< of the parts of this element of the outermost
    bool isCut_ = false;
};

} // namespace AmbrelKit::Differences

#endif
