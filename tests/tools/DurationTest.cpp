#include "tools/ambrel/Arguments/Duration.hpp"

#include <gtest/gtest.h>
#include <utility>

namespace Ambrel {
namespace {

TEST(Duration, HasAUnit) {
    for (const auto& [text, seconds] : {std::pair{"90", 90.0},
                                        {"0.5s", 0.5},
                                        {"15m", 900.0},
                                        {"1.5h", 5400.0},
                                        {"7d", 604800.0},
                                        {"2w", 1209600.0}}) {
        EXPECT_EQ(duration(text), seconds) << text;
    }
    for (const char* text : {"", "s", "0", "-5", "+5", " 5", "5 m", "5ms", "5M", "1h30m", "1e3",
                             "0x10", "inf", "nan"}) {
        EXPECT_EQ(duration(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace Ambrel
