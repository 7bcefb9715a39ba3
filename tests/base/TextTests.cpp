#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <qlx/base/utf8.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

using namespace std::string_view_literals;

namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

TEST(Utf8, IsTakenWithoutAByteOrderMark) {
    EXPECT_EQ(qlx::withoutByteOrderMark("\xEF\xBB\xBFtext"), "text");
    EXPECT_EQ(qlx::withoutByteOrderMark("\xEF\xBB\xBF\xEF\xBB\xBF"), qlx::kByteOrderMark);
    EXPECT_EQ(qlx::withoutByteOrderMark("\xEF\xBBtext"), "\xEF\xBBtext");
    EXPECT_EQ(qlx::withoutByteOrderMark("text\xEF\xBB\xBF"), "text\xEF\xBB\xBF");
    EXPECT_EQ(qlx::withoutByteOrderMark(""), "");
}

}  // namespace

TEST(IntegerValue, ReadsTheNumberAtTheStart) {
    EXPECT_EQ(qlx::integerValue("42"), 42);
    EXPECT_EQ(qlx::integerValue(" \t\r\n\v\f-17xyz"), -17);
    EXPECT_EQ(qlx::integerValue("+5 6"), 5);
    EXPECT_EQ(qlx::integerValue("007"), 7);
    EXPECT_EQ(qlx::integerValue("1.9"), 1);
    EXPECT_EQ(qlx::integerValue("0x10"), 0);
}

TEST(IntegerValue, IsZeroWithoutDigits) {
    for (const std::string_view text : {""sv, "   "sv, "-"sv, "+"sv, "abc"sv, "- 5"sv, "--5"sv, "\0005"sv,
                                        "\xC2\xA0"
                                        "5"sv}) {
        EXPECT_EQ(qlx::integerValue(text), 0) << text;
    }
}

TEST(IntegerValue, SaturatesAt64Bits) {
    EXPECT_EQ(qlx::integerValue("9223372036854775807"), kMax);
    EXPECT_EQ(qlx::integerValue("9223372036854775808"), kMax);
    EXPECT_EQ(qlx::integerValue("-9223372036854775808"), kMin);
    EXPECT_EQ(qlx::integerValue("-9223372036854775809"), kMin);
    EXPECT_EQ(qlx::integerValue("99999999999999999999999999"), kMax);
    EXPECT_EQ(qlx::integerValue("-99999999999999999999999999"), kMin);
}

TEST(UnsignedValue, UsesAll64Bits) {
    EXPECT_EQ(qlx::unsignedValue("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(qlx::unsignedValue("18446744073709551616"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(qlx::unsignedValue(" +12"), 12U);
    EXPECT_EQ(qlx::unsignedValue("-1"), std::numeric_limits<std::uint64_t>::max());
}

TEST(DoubleValue, ReadsTheNumberAtTheStart) {
    EXPECT_EQ(qlx::doubleValue("12.5"), 12.5);
    EXPECT_EQ(qlx::doubleValue("  -0.25s"), -0.25);
    EXPECT_EQ(qlx::doubleValue("+1e3"), 1000.0);
    EXPECT_EQ(qlx::doubleValue(".5"), 0.5);
    EXPECT_EQ(qlx::doubleValue("1,5"), 1.0);
}

TEST(DoubleValue, IsZeroWithoutANumber) {
    for (const std::string_view text : {""sv, "x"sv, "."sv, "-"sv, "inf"sv, "nan"sv, "+-1"sv}) {
        EXPECT_EQ(qlx::doubleValue(text), 0.0) << text;
    }
}

TEST(DoubleValue, LeavesTheRangeAtItsEnds) {
    EXPECT_EQ(qlx::doubleValue("1e999"), HUGE_VAL);
    EXPECT_EQ(qlx::doubleValue("-1e999"), -HUGE_VAL);
    EXPECT_EQ(qlx::doubleValue("1e-999"), 0.0);
    EXPECT_EQ(qlx::doubleValue(std::string(400, '9')), HUGE_VAL);
    EXPECT_EQ(qlx::doubleValue("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(qlx::doubleValue("0." + std::string(400, '0') + "1e5"), 0.0);
    EXPECT_EQ(qlx::doubleValue("-0." + std::string(400, '0') + "1e900"), -HUGE_VAL);
    EXPECT_EQ(qlx::doubleValue(std::string(400, '9') + "e-10"), HUGE_VAL);
    EXPECT_EQ(qlx::doubleValue(std::string(400, '9') + "e-900"), 0.0);
    EXPECT_EQ(qlx::doubleValue("1e-99999999999999999999"), 0.0);
    EXPECT_EQ(qlx::doubleValue("1E+99999999999999999999"), HUGE_VAL);
}

TEST(DoubleValue, DoesNotDependOnTheLocale) {
    // Where no locale with a decimal comma is installed the call changes nothing, and the result is the same.
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    EXPECT_EQ(qlx::doubleValue("1.5"), 1.5);
    std::setlocale(LC_ALL, "C");
}

TEST(BoolValue, TakesYesTrueAndDigits) {
    for (const std::string_view text : {"YES"sv, "y"sv, "True"sv, "t"sv, "1"sv, " +09"sv, "-5"sv, "00Y"sv}) {
        EXPECT_TRUE(qlx::boolValue(text)) << text;
    }
    for (const std::string_view text : {""sv, "no"sv, "0"sv, "000"sv, "false"sv, "x1"sv}) {
        EXPECT_FALSE(qlx::boolValue(text)) << text;
    }
}

TEST(FirstInvalidUTF8Byte, AcceptsWellFormedText) {
    EXPECT_EQ(qlx::firstInvalidUTF8Byte(""), std::nullopt);
    EXPECT_EQ(qlx::firstInvalidUTF8Byte("plain text of more than eight bytes"), std::nullopt);
    EXPECT_EQ(qlx::firstInvalidUTF8Byte("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x8E\xB5 \xED\x9F\xBF \xF4\x8F\xBF\xBF"),
              std::nullopt);
    EXPECT_EQ(qlx::firstInvalidUTF8Byte("a\0b"sv), std::nullopt);
}

TEST(FirstInvalidUTF8Byte, PointsAtTheFirstBadSequence) {
    const std::string_view bad[] = {
        "\x80",              // a continuation byte alone
        "\xC0\xAF",          // overlong, two bytes
        "\xC1\xBF",          // overlong, two bytes
        "\xE0\x9F\xBF",      // overlong, three bytes
        "\xF0\x8F\xBF\xBF",  // overlong, four bytes
        "\xED\xA0\x80",      // a surrogate
        "\xED\xBF\xBF",      // a surrogate
        "\xF4\x90\x80\x80",  // above U+10FFFF
        "\xF5\x80\x80\x80",  // no such lead byte
        "\xFF",              // no such byte
        "\xC3",              // cut short
        "\xE2\x82",          // cut short
        "\xF0\x9F\x8E",      // cut short
        "\xC3(",             // no continuation
        "\xE2\x82(",         // no second continuation
    };
    for (const std::string_view sequence : bad) {
        EXPECT_EQ(qlx::firstInvalidUTF8Byte(sequence), 0U);
        EXPECT_EQ(qlx::firstInvalidUTF8Byte("123456789" + std::string(sequence) + "tail of the text"), 9U);
    }
}

TEST(AppendUtf8, GoesTheOtherWay) {
    std::string text;
    for (const char32_t character : {U'a', U'\u00E9', U'\u20AC', U'\U0001F3B5', char32_t{0xD800}, char32_t{0x110000}}) {
        qlx::appendUtf8(text, character);
    }
    EXPECT_EQ(text, "a\u00E9\u20AC\U0001F3B5\uFFFD\uFFFD");
}

TEST(TakeCodePoint, TakesOneCharacterAtATime) {
    std::string_view text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xB5\xFF\xC3z";
    EXPECT_EQ(qlx::takeCodePoint(text), U'a');
    EXPECT_EQ(qlx::takeCodePoint(text), U'\u00E9');
    EXPECT_EQ(qlx::takeCodePoint(text), U'\u20AC');
    EXPECT_EQ(qlx::takeCodePoint(text), U'\U0001F3B5');
    EXPECT_EQ(qlx::takeCodePoint(text), U'\uFFFD');
    EXPECT_EQ(qlx::takeCodePoint(text), U'\uFFFD');
    EXPECT_EQ(qlx::takeCodePoint(text), U'z');
    EXPECT_TRUE(text.empty());
}

TEST(Utf16Length, CountsCodeUnits) {
    EXPECT_EQ(qlx::utf16Length(""), 0U);
    EXPECT_EQ(qlx::utf16Length("twelve bytes"), 12U);
    EXPECT_EQ(qlx::utf16Length("caf\xC3\xA9"), 4U);
    EXPECT_EQ(qlx::utf16Length("\xEF\xBF\xBF"), 1U);
    EXPECT_EQ(qlx::utf16Length("\xF0\x9F\x8E\xB5"), 2U);
    EXPECT_EQ(qlx::utf16Length("\xFF\xFE"), 2U);
}

TEST(AsciiLowercased, KeepsEverythingElse) {
    EXPECT_EQ(qlx::asciiLowercased("AZaz@[`{0\xC3\x89"), "azaz@[`{0\xC3\x89");
}

TEST(FourCC, PutsTheFirstCharacterInTheHighestByte) {
    EXPECT_EQ(qlx::fourCC("v210"), 0x76323130U);
    EXPECT_EQ(qlx::kPixelFormatV210, 0x76323130U);
    EXPECT_EQ(qlx::kPixelFormat2vuy, 0x32767579U);
    EXPECT_EQ(qlx::fourCC("meta"), 0x6D657461U);
    EXPECT_EQ(qlx::fourCC("VANC"), 0x56414E43U);
}
