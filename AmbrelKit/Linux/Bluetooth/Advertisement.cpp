#include "AmbrelKit/Linux/Bluetooth/Advertisement.hpp"

#include "AmbrelKit/Platform/Hexadecimal.hpp"

#include <nlohmann/json.hpp>

namespace AmbrelKit::Linux {

namespace {

/// Assigned in place: what comes with every signal is as long as before, and takes no memory anew.
template <class Key, class ReadKey> void take(std::vector<std::pair<Key, std::string>>& kept,
                                              const std::optional<AdvertisedBytes<ReadKey>>& read) {
    if (read) {
        kept.resize(read->size());
        for (std::size_t i = 0; i < kept.size(); ++i) {
            kept[i].first = (*read)[i].first;
            kept[i].second = (*read)[i].second;
        }
    }
}

std::string companyKey(std::uint16_t company) {
    return hexadecimal(std::string{static_cast<char>(company >> 8U), static_cast<char>(company)});
}

} // namespace

void Advertisement::take(const DeviceProperties& read) {
    if (read.services) {
        services = *read.services;
    }
    Linux::take(serviceData, read.serviceData);
    Linux::take(manufacturerData, read.manufacturerData);
    if (read.txPower) {
        txPower = read.txPower;
    }
    if (read.appearance) {
        appearance = read.appearance;
    }
}

JSONDictionary Advertisement::dictionary() const {
    JSONDictionary dictionary;
    for (const UUID& service : services) {
        dictionary["services"].push_back(service.text());
    }
    for (const auto& [service, bytes] : serviceData) {
        if (const auto uuid = UUID::parse(service)) {
            dictionary["serviceData"][uuid->text()] = hexadecimal(bytes);
        }
    }
    for (const auto& [company, bytes] : manufacturerData) {
        dictionary["manufacturerData"][companyKey(company)] = hexadecimal(bytes);
    }
    if (txPower) {
        dictionary["txPower"] = *txPower;
    }
    if (appearance) {
        dictionary["appearance"] = *appearance;
    }
    return dictionary;
}

} // namespace AmbrelKit::Linux
