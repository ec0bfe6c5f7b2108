#ifndef AMBREL_BINS_HPP
#define AMBREL_BINS_HPP

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>

namespace Ambrel {

/// How much a collection saw.
struct Counts {
    std::size_t peripherals = 0;
    std::size_t services = 0;
};

/// The collections counted over time, in bins of equal width: the least of some usual ones with
/// which they are not too many.
class Bins {
public:
    void add(std::int64_t time, const Counts& counts);

    /// A list for each column, and how the bins lie. Their width and origin are null when there are
    /// none.
    [[nodiscard]] AmbrelKit::JSONDictionary model() const;

private:
    struct Bin {
        std::size_t collections = 0;
        std::size_t peripheralSum = 0;
        std::size_t peripheralMax = 0;
        std::size_t serviceSum = 0;
        std::size_t serviceMax = 0;

        void add(const Bin& other);
    };

    void widen();

    std::int64_t origin_ = 0;
    std::int64_t width_ = 60;          // seconds
    std::map<std::int64_t, Bin> bins_; ///< by their number from the origin
};

} // namespace Ambrel

#endif
