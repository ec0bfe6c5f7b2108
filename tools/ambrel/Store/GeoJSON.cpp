#include "tools/ambrel/Store/GeoJSON.hpp"

#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Store/Summary.hpp"

#include <cmath>
#include <nlohmann/json.hpp>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

bool isDegrees(const JSONValue& value, double greatest) {
    return value.is_number() && std::abs(value.get<double>()) <= greatest;
}

} // namespace

std::optional<JSONDictionary> feature(const JSONDictionary& collection) {
    const JSONValue& fix = member(collection, "locationCollection");
    const JSONValue& latitude = member(fix, "lat");
    const JSONValue& longitude = member(fix, "lon");
    if (!isDegrees(latitude, 90) || !isDegrees(longitude, 180)) {
        return std::nullopt;
    }
    const Summary summary(collection);
    const JSONDictionary point{{"type", "Point"},
                               {"coordinates", JSONValue::array({longitude, latitude})}};
    const JSONDictionary properties{{"timestamp", summary.timestamp},
                                    {"determined", member(fix, "timestamp")},
                                    {"peripherals", summary.peripherals},
                                    {"services", summary.services},
                                    {"networks", summary.networks.size()}};
    return JSONDictionary{{"type", "Feature"}, {"geometry", point}, {"properties", properties}};
}

} // namespace Ambrel
