#include "AmbrelKit/Internal/Extensions/Text.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <gtest/gtest.h>

namespace AmbrelKit {
namespace {

TEST(Text, SpellingsOfOneTextAreEqualHashAlikeAndKeepTheirSpelling) {
    struct Row {
        const char* one;
        const char* other;
    };
    const Row rows[] = {
        {"Caf\u00E9", "Cafe\u0301"},       // composed, decomposed
        {"\u212B", "A\u030A"},             // the ångström sign
        {"\u1EA1\u0307", "a\u0307\u0323"}, // marks in another order
        {"\uAC00", "\u1100\u1161"},        // a Hangul syllable and its letters
        {"\u0958", "\u0915\u093C"},        // excluded from composition
    };
    for (const Row& row : rows) {
        const Text one(row.one);
        const Text other(row.other);
        EXPECT_EQ(one, other) << row.one;
        EXPECT_FALSE(one < other || other < one) << row.one;
        EXPECT_EQ(std::hash<Text>{}(one), std::hash<Text>{}(other)) << row.one;
        EXPECT_EQ(one.string(), row.one);
        EXPECT_EQ(other.string(), row.other);
    }
    EXPECT_NE(Text("\uFB01"), Text("fi")) << "compatibility is not equivalence";
    EXPECT_NE(Text("Office"), Text("office"));
}

TEST(Text, SortsByCodePointAfterNormalisation) {
    const Text ascending[] = {
        "",       "A",         "A\u030A" /* U+00C5 */, "AB" /* before it */, "Z", "a", "ab",
        "\uFFFD", "\U0001F600"};
    EXPECT_LT(Text("AB"), Text("A\u030A"));
    EXPECT_LT(Text("a"), Text("ab"));
    EXPECT_LT(Text("Z"), Text("a"));
    EXPECT_LT(ascending[7], ascending[8]) << "by code point, not by UTF-16 unit";
}

TEST(UTF8, ReplacesEachIllFormedSequenceOnce) {
    struct Row {
        std::string bytes;
        std::string repaired;
    };
    const std::string mark = "\uFFFD";
    const Row rows[] = {
        {"plain", "plain"},
        {"caf\xC3\xA9", "caf\u00E9"},
        {"\xFF\xFE", mark + mark},
        {"a\xE2\x82", "a" + mark},        // cut short at the end
        {"a\xE2\x82z", "a" + mark + "z"}, // cut short in the middle
        {"\xC0\xAF", mark + mark},        // overlong
        {"\xE0\x80\x80", mark + mark + mark},
        {"\xED\xA0\x80", mark + mark + mark},            // a surrogate
        {"\xF4\x90\x80\x80", mark + mark + mark + mark}, // beyond the last character
        {"\xF0\x9F\x98\xC3\xA9", mark + "\u00E9"},
        {std::string("a\0b", 3), std::string("a\0b", 3)},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(repairedUTF8(row.bytes), row.repaired) << testing::PrintToString(row.bytes);
        EXPECT_EQ(isValidUTF8(row.bytes), row.bytes == row.repaired);
        EXPECT_EQ(Text(row.bytes).string(), row.repaired);
    }
}

} // namespace
} // namespace AmbrelKit
