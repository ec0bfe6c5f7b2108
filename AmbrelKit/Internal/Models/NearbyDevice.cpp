#include "AmbrelKit/Internal/Models/NearbyDevice.hpp"

namespace AmbrelKit {

JSONValue NearbyDevice::encode(const JSONEncoder& encoder) const {
    JSONContainer container(encoder);
    container.write("name", name);
    container.write("protocolType", protocolType);
    container.write("address", addressIPv4);
    container.write("txtRecord", txtRecord);
    container.write("timestamp", timestamp);
    return std::move(container).finish();
}

} // namespace AmbrelKit
