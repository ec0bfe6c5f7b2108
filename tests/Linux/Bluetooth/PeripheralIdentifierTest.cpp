#include "AmbrelKit/Linux/Bluetooth/PeripheralIdentifier.hpp"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace AmbrelKit;

TEST(PeripheralIdentifier, IsOfTheAddressAndItsTypeAlone) {
    using Linux::HardwareAddress;
    const auto identifier = [](const char* address, bool random) {
        return Linux::peripheralIdentifier(HardwareAddress::parse(address, random).value());
    };
    const UUID one = identifier("C0:FF:EE:00:00:0a", true);
    EXPECT_EQ(one, identifier("c0:ff:ee:00:00:0A", true));
    EXPECT_NE(one, identifier("C0:FF:EE:00:00:0B", true));
    EXPECT_NE(one, identifier("C0:FF:EE:00:00:0A", false));
    EXPECT_EQ(one.text()[14], '4') << "version";
    EXPECT_THAT(one.text()[19], ::testing::AnyOf('8', '9', 'A', 'B')) << "variant";
    for (const char* text : {"", "C0:FF:EE:00:00", "C0:FF:EE:00:00:0", "C0:FF:EE:00:00:0A:",
                             "C0-FF:EE:00:00:0A", "C0:FF:EE:00:00:0G", "C0:FF:EE:00:00:+A"}) {
        EXPECT_FALSE(HardwareAddress::parse(text, true)) << text;
    }
}

/// In a process of its own, which has not read the machine's id yet.
TEST(PeripheralIdentifier, OfTwoPeripheralsAreTwoWithoutDescriptors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto areTwo = [] {
        const rlimit none{};
        setrlimit(RLIMIT_NOFILE, &none);
        const UUID one = Linux::peripheralIdentifier({.bytes = {1}});
        const UUID other = Linux::peripheralIdentifier({.bytes = {2}});
        return one != other && one == Linux::peripheralIdentifier({.bytes = {1}});
    };
    EXPECT_EXIT(_exit(areTwo() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

} // namespace
