#include "AmbrelKit/Linux/NearbyDevices/UsualServiceTypes.hpp"

#include "AmbrelKit/Linux/NearbyDevices/AnnouncedServiceTypes.hpp"
#include "AmbrelKit/Platform/Bundle.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

std::vector<std::string> commonServiceTypes() {
    return {
        "_http._tcp",            // web pages of devices
        "_https._tcp",           //
        "_ipp._tcp",             // printers and scanners
        "_ipps._tcp",            //
        "_printer._tcp",         //
        "_pdl-datastream._tcp",  //
        "_uscan._tcp",           //
        "_scanner._tcp",         //
        "_airplay._tcp",         // sound and pictures
        "_raop._tcp",            //
        "_googlecast._tcp",      //
        "_spotify-connect._tcp", //
        "_sonos._tcp",           //
        "_daap._tcp",            //
        "_rtsp._tcp",            //
        "_hap._tcp",             // things in the house
        "_homekit._tcp",         //
        "_matter._tcp",          //
        "_matterc._udp",         //
        "_meshcop._udp",         //
        "_hue._tcp",             //
        "_mqtt._tcp",            //
        "_home-assistant._tcp",  //
        "_ssh._tcp",             // computers
        "_sftp-ssh._tcp",        //
        "_smb._tcp",             //
        "_nfs._tcp",             //
        "_afpovertcp._tcp",      //
        "_rfb._tcp",             //
        "_device-info._tcp",     //
        "_workstation._tcp",     //
    };
}

} // namespace

std::vector<std::string> usualServiceTypes(std::optional<std::vector<std::string>> chosen) {
    if (!chosen) {
        chosen = Bundle::main().bonjourServices();
    }
    auto types = std::move(chosen).value_or(commonServiceTypes());
    if (std::ranges::find(types, allServiceTypes) != types.end()) {
        std::ranges::copy(commonServiceTypes(), std::back_inserter(types));
    }
    std::vector<std::string> distinct;
    for (auto& type : types) {
        if (!type.ends_with('.') && type != allServiceTypes) {
            type += '.';
        }
        if (std::ranges::find(distinct, type) == distinct.end()) {
            distinct.push_back(std::move(type));
        }
    }
    return distinct;
}

} // namespace AmbrelKit::Linux
