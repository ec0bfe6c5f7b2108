#ifndef AMBREL_TESTS_SUPPORT_ALIKE_HPP
#define AMBREL_TESTS_SUPPORT_ALIKE_HPP

#include <AmbrelKit/Difference.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

/// For EXPECT_TRUE: whether nobody can tell the values apart. The failure shows what differs: - is
/// expected, + is there.
template <class Actual, class Expected>
testing::AssertionResult alike(const Actual& actual, const Expected& expected) {
    const std::string text =
        AmbrelKit::difference(expected, actual, {.greatestLength = std::size_t{1} << 16U});
    return text.empty() ? testing::AssertionSuccess() : testing::AssertionFailure() << "\n" << text;
}

#endif
