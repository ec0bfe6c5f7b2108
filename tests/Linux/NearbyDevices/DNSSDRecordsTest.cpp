#include "AmbrelKit/Linux/NearbyDevices/DNSSDRecords.hpp"
#include "AmbrelKit/Platform/NetService.hpp"

#include <chrono>
#include <gtest/gtest.h>

namespace {

using namespace AmbrelKit;
using namespace AmbrelKit::Linux;
using namespace std::string_literals;

TEST(DNSSDRecords, TakeServiceTypesWithOrWithoutTrailingDot) {
    for (const auto& [type, expected] : std::vector<std::pair<std::string, std::string>>{
             {"_ipp._tcp", "_ipp._tcp"},
             {"_ipp._tcp.", "_ipp._tcp"},
             {"_nvstream_dbd._TCP", "_nvstream_dbd._TCP"},
             {"_sleep-proxy._udp.", "_sleep-proxy._udp"},
             {"", ""},
             {"_ipp", ""},
             {"._tcp", ""},
             {"_._tcp", ""},
             {"ipp._tcp", ""},
             {"_ipp._tcp..", ""},
             {"_ipp._sctp", ""},
             {"_ipp._tcp.local", ""},
             {"_printer._sub._ipp._tcp.", "_printer._sub._ipp._tcp"},
             {"_%9E-1._SUB._ipp._tcp", "_%9E-1._SUB._ipp._tcp"},
             {"_sub._ipp._tcp", ""},
             {"printer._sub._ipp._tcp", ""},
             {"_\\095._sub._ipp._tcp", ""},
             {"_a._sub._b._sub._ipp._tcp", ""},
             {"_a._sub.", ""},
             {"_i p._tcp", ""},
             {"_ipp._tcp\0"s, ""},
             {"_" + std::string(63, 'a') + "._tcp", ""}}) {
        EXPECT_EQ(avahiServiceType(type).value_or(""), expected) << type;
    }
    EXPECT_EQ(typeOfInstances("_%9E-1._SUB._ipp._tcp"), "_ipp._tcp");
}

TEST(DNSSDRecords, RebuildTXTBytesInWireOrder) {
    EXPECT_EQ(txtRecordBytes({}), "\0"s);
    EXPECT_EQ(txtRecordBytes({"b=\xff\0"s, "flag", "a=1"}), "\3a=1\4flag\4b=\xff\0"s);
    EXPECT_EQ(NetService::dictionaryFromTXTRecordData(txtRecordBytes({"k=second", "K=first"})),
              (std::map<std::string, std::string>{{"K", "first"}}));
    EXPECT_EQ(txtRecordBytes({std::string(300, 'x')}), "\xff" + std::string(255, 'x'));
}

TEST(DNSSDRecords, RebuildAMillionTXTStringsAtOnce) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(txtRecordBytes(std::vector<std::string>(1'000'000, "a=1")).size(), 4'000'000);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(DNSSDRecords, LaySocketAddressesOutAsBSDDoes) {
    const auto record = [](const char* text) {
        return socketAddressRecord(parsedAddress(text).value(), 0x1234, 7);
    };
    EXPECT_EQ(record("10.77.0.2"), "\x10\x02\x12\x34\x0a\x4d\x00\x02"s + std::string(8, '\0'));
    EXPECT_EQ(record("fd77::2"), "\x1c\x0a\x12\x34\0\0\0\0\xfd\x77"s + std::string(13, '\0') +
                                     "\2"s + std::string(4, '\0'));
    EXPECT_EQ(record("fe80::1").substr(24, 1), "\7");
    EXPECT_FALSE(parsedAddress("10.77.0"));
    EXPECT_FALSE(parsedAddress(""));
}

} // namespace
