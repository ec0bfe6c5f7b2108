#include "AmbrelKit/Internal/Models/AmbrelAnalytics.hpp"

#include <array>
#include <utility>

namespace AmbrelKit {

namespace {

using Field = std::optional<bool> AmbrelAnalytics::*;

constexpr std::array<std::pair<const char*, Field>, 7> codingKeys{{
    {"bluetooth_permission", &AmbrelAnalytics::bluetoothPermission},
    {"bluetooth_setting", &AmbrelAnalytics::bluetoothSetting},
    {"network_permission", &AmbrelAnalytics::networkPermission},
    {"network_setting", &AmbrelAnalytics::networkSetting},
    {"location_permission", &AmbrelAnalytics::locationPermission},
    {"location_precise_permission", &AmbrelAnalytics::locationPrecisePermission},
    {"location_setting", &AmbrelAnalytics::locationSetting},
}};

} // namespace

std::optional<AmbrelAnalytics> AmbrelAnalytics::decode(const JSONValue& json) {
    if (!json.is_object()) {
        return std::nullopt;
    }
    AmbrelAnalytics analytics{Unasked{}};
    for (const auto& [key, field] : codingKeys) {
        const auto found = json.find(key);
        if (found == json.end() || found->is_null()) {
            continue;
        }
        if (!found->is_boolean()) {
            return std::nullopt;
        }
        analytics.*field = found->get<bool>();
    }
    return analytics;
}

JSONValue AmbrelAnalytics::encode(const JSONEncoder& encoder) const {
    JSONContainer container(encoder);
    for (const auto& [key, field] : codingKeys) {
        container.write(key, this->*field);
    }
    return std::move(container).finish();
}

} // namespace AmbrelKit
