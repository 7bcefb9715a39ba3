#include "subtitles/TextEditing.h"

#include <gtest/gtest.h>

namespace qlx::subtitles {
namespace {

std::string without(std::string text, std::string_view tag) {
    removeAllIgnoringCase(text, tag);
    return text;
}

TEST(TextEditing, RemovesEveryOccurrenceInEitherCase) {
    EXPECT_EQ(without("<b>a<B>b<b>", "<b>"), "ab");
    EXPECT_EQ(without("</Font>a</FONT>", "</font>"), "a");
    EXPECT_EQ(without("", "<b>"), "");
    EXPECT_EQ(without("<b", "<b>"), "<b");
    EXPECT_EQ(without("plain", "<b>"), "plain");
}

TEST(TextEditing, DoesNotLookAgainAtTextThatComesTogether) {
    EXPECT_EQ(without("<<b>b>", "<b>"), "<b>");
    EXPECT_EQ(without("<b<b>><b>", "<b>"), "<b>");
}

TEST(TextEditing, IgnoresTheCaseOfAsciiLettersOnly) {
    // U+212A KELVIN SIGN folds to k, U+0130 to i, in Unicode's own folding.
    EXPECT_EQ(without("\xE2\x84\xAA", "k"), "\xE2\x84\xAA");
    EXPECT_EQ(without("<\xC4\xB0>", "<i>"), "<\xC4\xB0>");
    // '[' and '{' differ by the same bit as a letter's two cases.
    EXPECT_FALSE(startsWithIgnoringCase("[a", "{a"));
}

TEST(TextEditing, ComparesWholePrefixes) {
    EXPECT_TRUE(startsWithIgnoringCase("{\\AN8}", "{\\an"));
    EXPECT_FALSE(startsWithIgnoringCase("{\\a", "{\\an"));
    EXPECT_TRUE(startsWithIgnoringCase("", ""));
}

TEST(TextEditing, TrimsBlanksAndTabsOnly) {
    EXPECT_EQ(trimmed(" \ta b\t "), "a b");
    EXPECT_EQ(trimmed("\ra\u00A0"), "\ra\u00A0");
    EXPECT_EQ(trimmed(" \t "), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(TextEditing, TakesPartsUpToTheSeparator) {
    std::string_view rest = "a,,b";
    EXPECT_EQ(takePart(rest, ','), "a");
    EXPECT_EQ(takePart(rest, ','), "");
    EXPECT_EQ(takePart(rest, ','), "b");
    EXPECT_EQ(rest, "");
    EXPECT_EQ(takePart(rest, ','), "");
}

}  // namespace
}  // namespace qlx::subtitles
