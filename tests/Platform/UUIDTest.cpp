#include "AmbrelKit/Platform/UUID.hpp"

#include <gtest/gtest.h>

namespace AmbrelKit {
namespace {

TEST(UUID, ReadsEitherCaseAndWritesUpperCase) {
    const auto uuid = UUID::parse("aaaaaaaa-bbBB-4ccc-8ddd-0123456789ef");
    ASSERT_TRUE(uuid);
    EXPECT_EQ(uuid->text(), "AAAAAAAA-BBBB-4CCC-8DDD-0123456789EF");
}

TEST(UUID, RefusesEverythingElse) {
    for (const char* text :
         {"", "aaaaaaaa-bbbb-4ccc-8ddd-0123456789e", "aaaaaaaa-bbbb-4ccc-8ddd-0123456789efa",
          "aaaaaaaabbbb-4ccc-8ddd-0123456789efab", "gaaaaaaa-bbbb-4ccc-8ddd-0123456789ef",
          "{aaaaaaa-bbbb-4ccc-8ddd-0123456789ef}", "aaaaaaaa_bbbb-4ccc-8ddd-0123456789ef"}) {
        EXPECT_FALSE(UUID::parse(text)) << text;
    }
}

TEST(UUID, RandomOnesAreVersion4AndDiffer) {
    const UUID uuid = UUID::random();
    EXPECT_EQ(uuid.text()[14], '4');
    EXPECT_NE(std::string("89AB").find(uuid.text()[19]), std::string::npos);
    EXPECT_NE(uuid, UUID::random());
}

} // namespace
} // namespace AmbrelKit
