#include <AmbrelKit/Difference.hpp>

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <string>
#include <vector>

namespace AmbrelKit {
namespace {

/// How many lines there are, each of an element that was removed or added.
std::ptrdiff_t changes(const std::vector<int>& before, const std::vector<int>& after) {
    const std::string text = difference(before, after);
    return std::count(text.begin(), text.end(), '\n');
}

TEST(CommonPart, OfLongListsIsFoundByWhatOccursOnce) {
    std::vector<int> counted(20'000);
    std::iota(counted.begin(), counted.end(), 0);
    std::vector<int> fewer(counted.begin() + 5'000, counted.end());
    EXPECT_EQ(changes(counted, fewer), 5'000); // beyond what is compared exactly
    fewer.erase(fewer.begin() + 9'000, fewer.begin() + 10'000);
    EXPECT_EQ(changes(counted, fewer), 6'000);
    std::vector<int> halved = counted;
    for (std::size_t i = 0; i < halved.size(); i += 2) {
        halved[i] = -halved[i] - 1;
    }
    EXPECT_EQ(changes(counted, halved), 20'000);
    // Nothing is there once only; the shortest answer is not promised.
    std::vector<int> few(20'000);
    std::vector<int> others(20'000);
    for (std::size_t i = 0; i < few.size(); ++i) {
        few[i] = static_cast<int>(i * i % 7 % 3);
        others[i] = static_cast<int>(i * i % 11 % 3);
    }
    EXPECT_LT(changes(few, others), 32'000);
    EXPECT_EQ(changes(few, few), 0);
}

TEST(CommonPart, OfShortListsIsTheLongest) {
    const auto shortest = [](const std::vector<int>& a, const std::vector<int>& b) {
        std::vector<std::vector<int>> common(a.size() + 1, std::vector<int>(b.size() + 1));
        for (std::size_t i = a.size(); i-- > 0;) {
            for (std::size_t j = b.size(); j-- > 0;) {
                common[i][j] = a[i] == b[j] ? common[i + 1][j + 1] + 1
                                            : std::max(common[i + 1][j], common[i][j + 1]);
            }
        }
        return static_cast<std::ptrdiff_t>(a.size() + b.size()) - 2 * common[0][0];
    };
    unsigned seed = 1;
    const auto random = [&seed](unsigned below) {
        seed = seed * 1103515245U + 12345U;
        return (seed >> 16U) % below;
    };
    for (int round = 0; round < 2'000; ++round) {
        std::vector<int> a(random(12));
        std::vector<int> b(random(12));
        for (auto* list : {&a, &b}) {
            std::generate(list->begin(), list->end(), [&] { return static_cast<int>(random(4)); });
        }
        ASSERT_EQ(changes(a, b), shortest(a, b)) << round;
    }
}

} // namespace
} // namespace AmbrelKit
