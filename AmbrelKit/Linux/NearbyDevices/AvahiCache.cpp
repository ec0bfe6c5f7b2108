#include "AmbrelKit/Linux/NearbyDevices/AvahiCache.hpp"

#include <fstream>
#include <sstream>
#include <string>

namespace AmbrelKit::Linux {

namespace {

constexpr const char* configuration = "/etc/avahi/avahi-daemon.conf";

/// Unless that file says otherwise.
constexpr std::size_t usualRecords = 4096;

/// For so many services at a place the file is not read.
constexpr std::size_t fewServices = 100;

/// Of a service on a host of its own: PTR, SRV, TXT, and three addresses.
constexpr std::size_t recordsOfService = 6;

std::size_t recordsKept() {
    const std::string key = "cache-entries-max=";
    std::ifstream file(configuration);
    std::size_t records = usualRecords;
    for (std::string line; std::getline(file, line);) {
        unsigned long value = 0;
        if (line.starts_with(key) && std::istringstream(line.substr(key.size())) >> value) {
            records = value;
        }
    }
    return records;
}

} // namespace

bool AvahiCache::count(const Sighting& sighting, Places& ofBrowser) {
    const std::pair place(sighting.interface, sighting.protocol);
    std::size_t& told = ofBrowser[place];
    std::size_t& services = services_[place];
    if (sighting.present) {
        ++told;
        ++services;
    } else if (told > 0) {
        --told;
        --services;
    }
    if (services <= fewServices) {
        return false;
    }
    fits_ = fits_ == 0 ? recordsKept() / recordsOfService : fits_;
    return services > fits_;
}

void AvahiCache::forget(const Places& ofBrowser) {
    for (const auto& [place, services] : ofBrowser) {
        services_[place] -= services;
    }
}

} // namespace AmbrelKit::Linux
