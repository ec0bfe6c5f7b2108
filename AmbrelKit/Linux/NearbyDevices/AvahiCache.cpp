#include "AmbrelKit/Linux/NearbyDevices/AvahiCache.hpp"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string_view>

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

AvahiCache::Browser::Browser(AvahiCache& cache, std::string type)
    : cache_(cache), type_(std::move(type)) {
    cache_.browsers_.insert(this);
}

AvahiCache::Browser::~Browser() {
    cache_.browsers_.erase(this);
    for (const auto& [place, services] : told_) {
        cache_.told_[place] -= services;
    }
}

bool AvahiCache::Browser::count(const Sighting& sighting) {
    const Place place(sighting.interface, sighting.protocol);
    std::size_t& told = told_[place];
    std::size_t& toldAll = cache_.told_[place];
    if (sighting.present) {
        ++told;
        ++toldAll;
    } else if (told > 0) {
        --told;
        --toldAll;
    }
    return toldAll > fewServices && cache_.isCrowded(place);
}

bool AvahiCache::isCrowded(const Place& place) {
    fits_ = fits_ == 0 ? recordsKept() / recordsOfService : fits_;
    return told_[place] > fits_ && services(place) > fits_;
}

/// Those who look for the same type, as two kits do, are told of the same services.
std::size_t AvahiCache::services(const Place& place) const {
    std::map<std::string_view, std::size_t> ofTypes;
    for (const Browser* const browser : browsers_) {
        const auto told = browser->told_.find(place);
        if (told != browser->told_.end()) {
            std::size_t& most = ofTypes[browser->type_];
            most = std::max(most, told->second);
        }
    }
    std::size_t sum = 0;
    for (const auto& [type, most] : ofTypes) {
        sum += most;
    }
    return sum;
}

} // namespace AmbrelKit::Linux
