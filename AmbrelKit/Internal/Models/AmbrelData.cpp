#include "AmbrelKit/Internal/Models/AmbrelData.hpp"

namespace AmbrelKit {

AmbrelData AmbrelData::new_(const UUID& uuid, TimePoint createdAt) {
    return AmbrelData(std::make_shared<const Fields>(Fields{
        .uuid = uuid,
        .createdAt = createdAt,
        .addressIPv4 = std::nullopt,
        .networkInfo = WifiNetwork{},
        .bluetoothScan = {},
        .location = std::nullopt,
        .nearbyDevices = {},
        .ambrelAnalytics = {},
    }));
}

template <class Value> AmbrelData AmbrelData::copy(Value Fields::*field, Value value) const {
    auto fields = std::make_shared<Fields>(*fields_);
    (*fields).*field = std::move(value);
    fields->ambrelAnalytics = AmbrelAnalytics();
    return AmbrelData(std::move(fields));
}

AmbrelData AmbrelData::copyWithAddressIPv4(std::optional<Text> addressIPv4) const {
    return copy(&Fields::addressIPv4, std::move(addressIPv4));
}

AmbrelData AmbrelData::copyWithNetworkInfo(std::optional<WifiNetwork> networkInfo) const {
    return copy(&Fields::networkInfo, std::move(networkInfo));
}

AmbrelData AmbrelData::copyWithBluetoothScan(BluetoothScan bluetoothScan) const {
    return copy(&Fields::bluetoothScan, std::move(bluetoothScan));
}

AmbrelData AmbrelData::copyWithLocation(const Location& location) const {
    return copy(&Fields::location, std::optional(location));
}

AmbrelData AmbrelData::copyWithNearbyDevices(NearbyDevices nearbyDevices) const {
    return copy(&Fields::nearbyDevices, std::move(nearbyDevices));
}

AmbrelData AmbrelData::compacted(KnownTexts& known) const {
    const auto share = [&](const auto& element) { return known.sharing(element); };
    Fields fields = *fields_;
    fields.addressIPv4 = known.sharing(addressIPv4());
    fields.networkInfo = known.sharing(networkInfo());
    fields.bluetoothScan = bluetoothScan().mapped(share);
    fields.nearbyDevices = nearbyDevices().mapped(share);
    return AmbrelData(std::make_shared<const Fields>(std::move(fields)));
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
