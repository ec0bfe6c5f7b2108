#include "AmbrelKit/Linux/Libraries/LateLibrary.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <system_error>

namespace AmbrelKit::Linux {
namespace {

using testing::HasSubstr;

constexpr LateLibrary present{"libm.so.6"};
constexpr LateLibrary absent{"libabsent.so.0"};

constinit const LateFunction<present, double(double)> late{"cbrt"};
constinit const LateFunction<present, double(double)> unknown{"no_such_root"};
constinit const LateFunction<absent, double(double)> lost{"cbrt"};

TEST(LateLibrary, WhatCannotBeLoadedIsNamedWhenItIsCalled) {
    EXPECT_TRUE(present.isThere());
    EXPECT_DOUBLE_EQ(late(27.0), 3.0);
    EXPECT_FALSE(absent.isThere());
    const auto refusal = [](const auto& function) -> std::string {
        try {
            return std::to_string(function(27.0));
        } catch (const std::system_error& error) {
            return error.what();
        }
    };
    EXPECT_THAT(refusal(lost), HasSubstr("libabsent.so.0: cannot open"));
    EXPECT_THAT(refusal(unknown), HasSubstr("no_such_root"));
}

} // namespace
} // namespace AmbrelKit::Linux
