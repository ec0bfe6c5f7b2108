#include "AmbrelKit/Internal/Models/Bluetooth.hpp"

namespace AmbrelKit {

JSONValue BluetoothPeripheral::encode(const JSONEncoder& encoder) const {
    JSONContainer container(encoder);
    container.write("address", identifier);
    container.write("name", name);
    container.write("timestamp", timestamp);
    return std::move(container).finish();
}

} // namespace AmbrelKit
