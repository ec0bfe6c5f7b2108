#ifndef AMBREL_PLACES_HPP
#define AMBREL_PLACES_HPP

#include "tools/ambrel/Report/Things.hpp"

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <vector>

namespace Ambrel {

/// On the globe, in degrees.
struct Position {
    double latitude;
    double longitude;
};

/// A table of the model: where the device was. Fixes near one another are one place; how near,
/// grows with what there is, so that the table stays short.
class Places {
public:
    /// The place of a fix, until the next call. Null for what is no position.
    Thing* see(const Position& position, const CollectionMoment& moment);

    /// The table, as `Things::model` gives it, with the distances from the place seen most often.
    [[nodiscard]] AmbrelKit::JSONDictionary model(std::int64_t origin, std::int64_t newSince);

private:
    struct Place {
        Position middle; ///< of its fixes
        Thing thing;
    };

    Place* placeOf(const Position& position);
    void sort();
    void mergeNeighbours();

    std::vector<Place> places_;
    double radius_ = 100; ///< metres
};

} // namespace Ambrel

#endif
