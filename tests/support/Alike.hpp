#ifndef AMBREL_TESTS_SUPPORT_ALIKE_HPP
#define AMBREL_TESTS_SUPPORT_ALIKE_HPP

#include <AmbrelKit/Difference.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

/// For EXPECT_TRUE: whether nobody can tell the values apart. The failure shows what differs: - is
/// expected, + is there.
template <class Actual, class Expected>
testing::AssertionResult alike(const Actual& actual, const Expected& expected) {
    const std::string text =
        AmbrelKit::difference(expected, actual, {.greatestLength = std::size_t{1} << 16U});
    return text.empty() ? testing::AssertionSuccess() : testing::AssertionFailure() << "\n" << text;
}

/// The lines of a replay's trace.
inline std::vector<AmbrelKit::JSONValue> traceLines(const std::string& trace) {
    std::vector<AmbrelKit::JSONValue> lines;
    std::istringstream input(trace);
    for (std::string line; std::getline(input, line);) {
        lines.push_back(AmbrelKit::JSONValue::parse(line));
    }
    return lines;
}

#endif
