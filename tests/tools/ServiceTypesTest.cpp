#include "tools/ambrel/Arguments/ServiceTypes.hpp"
#include "AmbrelKit/Linux/NearbyDevices/UsualServiceTypes.hpp"

#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

namespace Ambrel {
namespace {

TEST(ServiceTypes, AreThoseOfRFC6335) {
    for (const char* type :
         {"_ipp._tcp", "_ipp._tcp.", "_a._udp", "_A1._tcp", "_1a._tcp", "_device-info._tcp",
          "_abcdefghijklmno._tcp", "_CC1AD845._sub._googlecast._tcp", "_%9E._sub._ipp._tcp."}) {
        EXPECT_TRUE(isServiceType(type)) << type;
    }
    std::istringstream wrong(
        ". ipp _ipp ipp._tcp _ipp._sctp _ipp._tcp.. _ipp_tcp __tcp _._tcp ._tcp _-ipp._tcp "
        "_ipp-._tcp _i--p._tcp _631._tcp _i_p._tcp _\xC3\xA9._tcp _abcdefghijklmnop._tcp "
        "_a._sub.ipp._tcp a._sub._ipp._tcp _a._sub._b._sub._ipp._tcp _sub._ipp._tcp "
        "_ipp._tcp.local");
    std::vector<std::string> types{"", "_i p._tcp", " _ipp._tcp"};
    types.insert(types.end(), std::istream_iterator<std::string>(wrong), {});
    for (const std::string& type : types) {
        EXPECT_FALSE(isServiceType(type)) << type;
    }
    for (const std::string& type : AmbrelKit::Linux::usualServiceTypes()) {
        EXPECT_TRUE(isServiceType(type)) << type;
    }
}

} // namespace
} // namespace Ambrel
