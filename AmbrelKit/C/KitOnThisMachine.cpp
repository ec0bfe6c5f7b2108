#include "AmbrelKit/C/Kit.hpp"
#include "AmbrelKit/Linux/NearbyDevices/UsualServiceTypes.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"

#include <array>
#include <optional>
#include <utility>

using namespace AmbrelKit;

namespace {

Linux::LocationAccuracy accuracyOf(int accuracy) {
    using enum Linux::LocationAccuracy;
    if (accuracy == 0) {
        return exact;
    }
    for (const auto known : {country, city, neighborhood, street, exact}) {
        if (static_cast<int>(known) == accuracy) {
            return known;
        }
    }
    throw std::invalid_argument("an unknown location_accuracy");
}

Linux::LocationSourceKind sourceOf(int source) {
    using enum Linux::LocationSourceKind;
    static constexpr std::array sources{automatic, geoClue, gpsd, none};
    C::require(source >= 0 && static_cast<std::size_t>(source) < sources.size(),
               "an unknown location_source");
    return sources.at(static_cast<std::size_t>(source));
}

Linux::MDNSStack mdnsOf(const ambrel_kit_options& options) {
    using enum Linux::MDNSStack;
    static constexpr std::array stacks{automatic, daemon, embedded};
    C::require(options.reserved == 0, "a reserved member is not 0");
    C::require(options.mdns >= 0 && static_cast<std::size_t>(options.mdns) < stacks.size(),
               "an unknown mdns");
    return stacks.at(static_cast<std::size_t>(options.mdns));
}

/// Nothing: what the bundle lists.
std::optional<std::vector<std::string>> serviceTypesOf(const ambrel_kit_options& options) {
    C::require((options.flags & ~AMBREL_KIT_USUAL_SERVICES) == 0, "an unknown flag");
    std::optional<std::vector<std::string>> types;
    if (options.service_types != nullptr) {
        types = C::listOf(options.service_types);
    }
    const bool usual = (options.flags & AMBREL_KIT_USUAL_SERVICES) != 0;
    return usual ? Linux::usualServiceTypes(std::move(types)) : types;
}

Linux::LocationOptions locationOf(const ambrel_kit_options& options) {
    const auto orDefault = [](const char* text, const std::string& otherwise) {
        return text != nullptr && *text != '\0' ? text : otherwise;
    };
    C::require(options.gpsd_port >= 0 && options.gpsd_port <= 65535,
               "gpsd_port is not from 1 to 65535");
    Linux::LocationOptions location;
    location.source = sourceOf(options.location_source);
    location.accuracy = accuracyOf(options.location_accuracy);
    location.desktopId = orDefault(options.desktop_id, location.desktopId);
    location.gpsdAddress = orDefault(options.gpsd_address, location.gpsdAddress);
    if (options.gpsd_port != 0) {
        location.gpsdPort = static_cast<std::uint16_t>(options.gpsd_port);
    }
    return location;
}

} // namespace

extern "C" {

int ambrel_kit_new(const ambrel_kit_options* options, ambrel_kit** kit, ambrel_error* error) {
    return C::edge(error, [&] {
        auto& result = C::required(kit);
        const auto chosen = options != nullptr ? C::known(*options) : ambrel_kit_options{};
        auto services = Linux::platformServices(locationOf(chosen), mdnsOf(chosen));
        if (auto types = serviceTypesOf(chosen)) {
            services.bonjourServices = std::move(types);
        }
        result = new ambrel_kit(Linux::create(std::move(services)));
    });
}
}
