#include "AmbrelKit/Internal/Models/Network.hpp"

namespace AmbrelKit {

JSONValue WifiNetworkHost::encode(const JSONEncoder& encoder) const {
    JSONContainer container(encoder);
    container.write("name", ssid);
    return std::move(container).finish();
}

JSONValue WifiNetwork::encode(const JSONEncoder& encoder) const {
    JSONContainer container(encoder);
    container.write("connectedDevices", connectedDevices);
    return std::move(container).finish();
}

} // namespace AmbrelKit
