#include "AmbrelKit/Internal/Models/AmbrelData.hpp"

namespace AmbrelKit {

AmbrelData AmbrelData::new_(const UUID& uuid, TimePoint createdAt) {
    return AmbrelData(Fields{.rest = std::make_shared<const Rest>(Rest{
                                 .uuid = uuid,
                                 .createdAt = createdAt,
                                 .addressIPv4 = std::nullopt,
                                 .networkInfo = WifiNetwork{},
                                 .location = std::nullopt,
                             }),
                             .bluetoothScan = {},
                             .nearbyDevices = {},
                             .ambrelAnalytics = {}});
}

template <class Value> AmbrelData AmbrelData::copy(Value Rest::*field, Value value) const {
    auto rest = std::make_shared<Rest>(*fields_->rest);
    (*rest).*field = std::move(value);
    return AmbrelData(Fields{std::move(rest), bluetoothScan(), nearbyDevices(), {}});
}

AmbrelData AmbrelData::copyWithAddressIPv4(std::optional<Text> addressIPv4) const {
    return copy(&Rest::addressIPv4, std::move(addressIPv4));
}

AmbrelData AmbrelData::copyWithNetworkInfo(std::optional<WifiNetwork> networkInfo) const {
    return copy(&Rest::networkInfo, std::move(networkInfo));
}

AmbrelData AmbrelData::copyWithBluetoothScan(BluetoothScan bluetoothScan) const {
    return AmbrelData(Fields{fields_->rest, std::move(bluetoothScan), nearbyDevices(), {}});
}

AmbrelData AmbrelData::copyWithLocation(const Location& location) const {
    return copy(&Rest::location, std::optional(location));
}

AmbrelData AmbrelData::copyWithNearbyDevices(NearbyDevices nearbyDevices) const {
    return AmbrelData(Fields{fields_->rest, bluetoothScan(), std::move(nearbyDevices), {}});
}

AmbrelData AmbrelData::compacted(KnownTexts& known) const {
    const auto share = [&](const auto& element) { return known.sharing(element); };
    auto rest = std::make_shared<Rest>(*fields_->rest);
    rest->addressIPv4 = known.sharing(addressIPv4());
    rest->networkInfo = known.sharing(networkInfo());
    return AmbrelData(Fields{std::move(rest), bluetoothScan().mapped(share),
                             nearbyDevices().mapped(share), ambrelAnalytics()});
}

JSONValue AmbrelData::encode(const JSONEncoder& encoder) const {
    JSONContainer container(encoder);
    container.write("timestamp", createdAt());
    container.write("ip", addressIPv4());
    container.write("wifiNetwork", networkInfo());
    container.write("bleScan", bluetoothScan());
    container.write("locationCollection", location());
    container.write("ambrel_analytics", ambrelAnalytics());
    container.write("nearbyDevices", nearbyDevices());
    return std::move(container).finish();
}

} // namespace AmbrelKit
