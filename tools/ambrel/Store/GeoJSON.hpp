#ifndef AMBREL_GEOJSON_HPP
#define AMBREL_GEOJSON_HPP

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <optional>

namespace Ambrel {

/// The collection as a feature of GeoJSON (RFC 7946): its position, with its time, that of the
/// position, and how many peripherals, services and networks it has. Nothing for a collection
/// without a position on the globe.
std::optional<AmbrelKit::JSONDictionary> feature(const AmbrelKit::JSONDictionary& collection);

} // namespace Ambrel

#endif
