#include "AmbrelKit/Internal/Models/Location.hpp"

namespace AmbrelKit {

JSONValue Location::encode(const JSONEncoder& encoder) const {
    JSONContainer container(encoder);
    container.write("lat", latitude);
    container.write("lon", longitude);
    container.write("timestamp", timestamp);
    return std::move(container).finish();
}

} // namespace AmbrelKit
